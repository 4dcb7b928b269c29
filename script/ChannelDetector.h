#pragma once

#include <QList>
#include <QRegularExpression>
#include <QString>

#include "storage/CustomChannel.h"

// Sorts a line of game text into a chat channel with a fixed, ordered table of
// patterns: the first row that matches names the channel, so "[CHAT] Bob: You
// hit the wall" is Chat even though it also looks like combat.
class ChannelDetector final {
public:
    struct ChannelPattern {
        QString name;
        QRegularExpression pattern;
    };

    ChannelDetector();

    // The channel name of the line, or an empty string when no row matches.
    QString detectChannel(const QString& line) const;
    static QList<CustomChannel> getDefaultChannels();
    void setupDefaultPatterns();

    const QList<ChannelPattern>& patterns() const { return m_patterns; }

private:
    QList<ChannelPattern> m_patterns;
};
