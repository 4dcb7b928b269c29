#include <QListWidget>
#include <QScrollBar>
#include <QTabWidget>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/ChannelPanel.h"

class tst_ChannelPanel : public QObject {
    Q_OBJECT

private slots:
    void channelsAreCreatedOnceByExactName();
    void keepsOnlyNewestLinesPerChannel();
    void followsNewestOnlyAtBottom();
};

namespace {

QTabWidget* tabsOf(ChannelPanel& panel)
{
    return panel.findChild<QTabWidget*>();
}

QListWidget* listOf(ChannelPanel& panel, const QString& channel)
{
    QTabWidget* tabs = tabsOf(panel);
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->tabText(i) == channel)
            return qobject_cast<QListWidget*>(tabs->widget(i));
    }
    return nullptr;
}

QStringList tabNames(ChannelPanel& panel)
{
    QStringList names;
    for (int i = 0; i < tabsOf(panel)->count(); ++i)
        names << tabsOf(panel)->tabText(i);
    return names;
}

} // namespace

void tst_ChannelPanel::channelsAreCreatedOnceByExactName()
{
    ChannelPanel panel;
    tabsOf(panel)->setCurrentIndex(2);
    const QStringList standard = {"OOC",    "Chat",  "Quest", "Announce", "Broadcast",
                                  "Combat", "Emote", "Tell",  "System"};
    QCOMPARE(tabNames(panel), standard);

    QCOMPARE(panel.ensureChannel("Tell"), 7);
    QCOMPARE(tabsOf(panel)->count(), 9);

    panel.addMessage("Guild", "[Guild] hi");
    QCOMPARE(tabsOf(panel)->count(), 10);
    QCOMPARE(tabsOf(panel)->tabText(9), "Guild");
    QCOMPARE(panel.ensureChannel("Guild"), 9);

    panel.addMessage("chat", "lower");
    QCOMPARE(tabsOf(panel)->count(), 11);
    QCOMPARE(listOf(panel, "chat")->count(), 1);
    QCOMPARE(listOf(panel, "Chat")->count(), 0);

    panel.clearChannel("NeverSeen");
    QCOMPARE(tabsOf(panel)->count(), 11);

    panel.addMessage("Chat", "upper");
    panel.clearChannel("chat");
    QCOMPARE(listOf(panel, "chat")->count(), 0);
    QCOMPARE(listOf(panel, "Chat")->count(), 1);
    QCOMPARE(listOf(panel, "Chat")->item(0)->text(), "upper");
    // New lines and new channels never take the player to another tab.
    QCOMPARE(tabsOf(panel)->currentIndex(), 2);
}

void tst_ChannelPanel::keepsOnlyNewestLinesPerChannel()
{
    ChannelPanel panel;
    for (int i = 1; i <= ChannelPanel::kMaxLinesPerChannel; ++i)
        panel.addMessage("OOC", QString("line %1").arg(i));
    panel.addMessage("Tell", "untouched");

    QListWidget* ooc = listOf(panel, "OOC");
    QCOMPARE(ooc->count(), 300);
    QCOMPARE(ooc->item(0)->text(), "line 1");

    panel.addMessage("OOC", "line 301");
    panel.addMessage("OOC", "line 302");
    QCOMPARE(ooc->count(), 300);
    QCOMPARE(ooc->item(0)->text(), "line 3");
    QCOMPARE(ooc->item(299)->text(), "line 302");
    QCOMPARE(listOf(panel, "Tell")->count(), 1);
}

void tst_ChannelPanel::followsNewestOnlyAtBottom()
{
    ChannelPanel panel;
    panel.resize(320, 240);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    tabsOf(panel)->setCurrentIndex(1);
    QListWidget* chat = listOf(panel, "Chat");
    QScrollBar* bar = chat->verticalScrollBar();

    for (int i = 1; i <= 100; ++i)
        panel.addMessage("Chat", QString("line %1").arg(i));
    QTRY_VERIFY(bar->maximum() > 0);
    QTRY_COMPARE(bar->value(), bar->maximum());

    // A tab filled while hidden opens at its newest line.
    for (int i = 1; i <= 100; ++i)
        panel.addMessage("Tell", QString("tell %1").arg(i));
    tabsOf(panel)->setCurrentIndex(7);
    QScrollBar* tellBar = listOf(panel, "Tell")->verticalScrollBar();
    QTRY_VERIFY(tellBar->maximum() > 0);
    QTRY_COMPARE(tellBar->value(), tellBar->maximum());
    tabsOf(panel)->setCurrentIndex(1);

    // Scrolled up to read: new lines, even ones that trim the oldest, keep
    // the line at the top where it is.
    for (int i = 101; i <= 300; ++i)
        panel.addMessage("Chat", QString("line %1").arg(i));
    QTRY_COMPARE(bar->value(), bar->maximum());
    chat->scrollToItem(chat->item(99), QAbstractItemView::PositionAtTop);
    QCOMPARE(chat->itemAt(0, 0)->text(), "line 100");
    for (int i = 301; i <= 310; ++i)
        panel.addMessage("Chat", QString("line %1").arg(i));
    QCoreApplication::processEvents();
    QCOMPARE(chat->itemAt(0, 0)->text(), "line 100");
    QVERIFY(bar->value() < bar->maximum());

    // Back at the bottom it follows again.
    bar->setValue(bar->maximum());
    panel.addMessage("Chat", "newest");
    QTRY_COMPARE(bar->value(), bar->maximum());
    QListWidgetItem* newest = chat->item(chat->count() - 1);
    QCOMPARE(newest->text(), "newest");
    QVERIFY(chat->viewport()->rect().contains(chat->visualItemRect(newest)));
}

OLVEX_TEST_MAIN(tst_ChannelPanel, QApplication)
#include "tst_ChannelPanel.moc"
