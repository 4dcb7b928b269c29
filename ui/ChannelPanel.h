#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <QWidget>

class QEvent;

class QListWidget;
class QTabWidget;

// Chat lines sorted by channel, one tab each. The lines arrive finished; the
// panel only keeps the newest ones of every channel and shows them.
class ChannelPanel final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ChannelPanel)

public:
    // Lines kept per channel; older ones are dropped as new ones arrive.
    static constexpr int kMaxLinesPerChannel = 300;

    explicit ChannelPanel(QWidget* parent = nullptr);

    int ensureChannel(const QString& name);
    void addMessage(const QString& channel, const QString& text);
    void clearChannel(const QString& channel);
    // Tab bar, then the channel lists, in the order Tab visits them.
    QList<QWidget*> focusOrder() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void measureItems(QListWidget* list, int from);
    void onCurrentTabChanged(int index);

    QTabWidget* tabs = nullptr;
    // Names compare case-sensitively: "chat" and "Chat" are two channels.
    QMap<QString, QListWidget*> channels;
    // Whether a list sat at its newest line the last time it scrolled; such a
    // list follows new lines, one the player scrolled up in stays put.
    QHash<const QListWidget*, bool> followsNewest;
    // The viewport width each list's line heights were measured for.
    QHash<const QListWidget*, int> measuredWidth;
};
