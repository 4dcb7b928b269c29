#include "script/ChannelDetector.h"

ChannelDetector::ChannelDetector()
{
    setupDefaultPatterns();
}

void ChannelDetector::setupDefaultPatterns()
{
    const auto ignoringCase = QRegularExpression::CaseInsensitiveOption;
    const struct {
        const char* name;
        const char* pattern;
        QRegularExpression::PatternOptions options;
    } table[] = {
        {"OOC", R"(\[OOC\])", ignoringCase},
        {"Chat", R"(\[CHAT\])", ignoringCase},
        {"Quest", R"(\[QUEST\]|Quest:)", ignoringCase},
        {"Announce", R"(\[ANNOUNCE\])", ignoringCase},
        {"Broadcast", R"(\(broadcast\)|\[BROADCAST\])", ignoringCase},
        {"Combat", R"(You hit|You dodge|You are hit|strikes at you)", ignoringCase},
        {"Emote", R"(^\s*\*\s+\w+)", QRegularExpression::NoPatternOption},
        {"Tell", R"(tells you:|You tell)", ignoringCase},
        {"System", R"(Connection|Disconnection|You have|You gain|level up)", ignoringCase},
    };

    m_patterns.clear();
    for (const auto& row : table) {
        ChannelPattern entry{QString::fromLatin1(row.name),
                             QRegularExpression(QString::fromLatin1(row.pattern), row.options)};
        entry.pattern.optimize();
        m_patterns.append(std::move(entry));
    }
}

QString ChannelDetector::detectChannel(const QString& line) const
{
    for (const ChannelPattern& entry : m_patterns) {
        if (entry.pattern.match(line).hasMatch())
            return entry.name;
    }
    return {};
}

QList<CustomChannel> ChannelDetector::getDefaultChannels()
{
    // Shorter than the detection table on purpose: these are starting points
    // offered to the player, not the rules detection uses.
    return {
        {QStringLiteral("OOC"), QStringLiteral(R"(\[OOC\])"), true},
        {QStringLiteral("Chat"), QStringLiteral(R"(\[CHAT\])"), true},
        {QStringLiteral("Quest"), QStringLiteral(R"(\[QUEST\])"), true},
        {QStringLiteral("Announce"), QStringLiteral(R"(\[ANNOUNCE\])"), true},
        {QStringLiteral("Broadcast"), QStringLiteral(R"(\(broadcast\))"), true},
        {QStringLiteral("Combat"), QStringLiteral("You hit|You dodge"), true},
        {QStringLiteral("Emote"), QStringLiteral(R"(^\s*\*\s+)"), true},
        {QStringLiteral("Tell"), QStringLiteral("tells you:"), true},
        {QStringLiteral("System"), QStringLiteral("Connection|Disconnection"), true},
    };
}
