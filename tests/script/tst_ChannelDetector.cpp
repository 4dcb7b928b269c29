#include <QtTest>

#include "script/ChannelDetector.h"
#include "support/TestEnvironment.h"

class tst_ChannelDetector : public QObject {
    Q_OBJECT

private slots:
    void detectChannel_data();
    void detectChannel();
    void defaultChannelsAreTheShortList();
};

namespace {

void row(const char* name, const QString& line, const QString& channel)
{
    QTest::newRow(name) << line << channel;
}

} // namespace

void tst_ChannelDetector::detectChannel_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("channel");

    row("tags ignore case", "[ooc] hi", "OOC");
    row("quest colon ignores case", "The quest: begin", "Quest");
    row("emote", "* Bob waves", "Emote");
    row("emote after blanks", "   *  Bob waves", "Emote");
    row("asterisk glued to name is no emote", "*Bob waves", "");
    row("emote only at line start", "Bob says * Bob waves", "");
    row("connection substring", "Reconnection", "System");
    row("chat row wins over combat", "[CHAT] Bob: You hit the wall", "Chat");
    row("tell row wins over system", "Bob tells you: You have mail", "Tell");
    row("system alone", "You have mail", "System");
    row("combat wins over tell", "Bob strikes at you and tells you: die", "Combat");
    row("empty line", "", "");
}

void tst_ChannelDetector::detectChannel()
{
    QFETCH(QString, line);
    QFETCH(QString, channel);
    QCOMPARE(ChannelDetector().detectChannel(line), channel);
}

void tst_ChannelDetector::defaultChannelsAreTheShortList()
{
    const QList<CustomChannel> defaults = ChannelDetector::getDefaultChannels();
    QStringList rows;
    for (const CustomChannel& channel : defaults)
        rows << channel.name + (channel.enabled ? " " : " off ") + channel.pattern;
    QCOMPARE(rows,
             QStringList({"OOC \\[OOC\\]", "Chat \\[CHAT\\]", "Quest \\[QUEST\\]", "Announce \\[ANNOUNCE\\]",
                          "Broadcast \\(broadcast\\)", "Combat You hit|You dodge", "Emote ^\\s*\\*\\s+",
                          "Tell tells you:", "System Connection|Disconnection"}));
}

OLVEX_TEST_MAIN(tst_ChannelDetector, QCoreApplication)
#include "tst_ChannelDetector.moc"
