#include <QListWidget>
#include <QScrollBar>
#include <QTabWidget>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/ChannelPanel.h"

namespace {

// The texts of a channel's lines, or "<none>" when it has no tab.
QStringList linesOf(ChannelPanel& panel, const QString& channel)
{
    auto* tabs = panel.findChild<QTabWidget*>();
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->tabText(i) != channel)
            continue;
        auto* list = qobject_cast<QListWidget*>(tabs->widget(i));
        QStringList lines;
        for (int row = 0; row < list->count(); ++row)
            lines << list->item(row)->text();
        return lines;
    }
    return {"<none>"};
}

} // namespace

class tst_ChannelPanel : public QObject {
    Q_OBJECT

private slots:
    void channelsAreKeptByExactNameAndBounded();
    void wrapsAndFollowsNewestOnlyAtBottom();
};

void tst_ChannelPanel::channelsAreKeptByExactNameAndBounded()
{
    ChannelPanel panel;
    auto* tabs = panel.findChild<QTabWidget*>();
    tabs->setCurrentIndex(2);
    QCOMPARE(panel.ensureChannel("Tell"), 7);
    panel.addMessage("Guild", "[Guild] hi");
    panel.addMessage("chat", "lower");
    panel.addMessage("Chat", "upper");
    panel.clearChannel("chat");
    panel.clearChannel("NeverSeen");
    QStringList names;
    for (int i = 0; i < tabs->count(); ++i)
        names << tabs->tabText(i);
    QCOMPARE(names,
             QString("OOC Chat Quest Announce Broadcast Combat Emote Tell System Guild chat").split(' '));
    QCOMPARE(panel.ensureChannel("Guild"), 9);
    QCOMPARE(linesOf(panel, "Chat"), QStringList{"upper"});
    QCOMPARE(linesOf(panel, "chat"), QStringList());
    QCOMPARE(tabs->currentIndex(), 2); // new lines and channels never switch tabs

    for (int i = 1; i <= ChannelPanel::kMaxLinesPerChannel + 2; ++i)
        panel.addMessage("OOC", QString("line %1").arg(i));
    const QStringList ooc = linesOf(panel, "OOC");
    QCOMPARE(ooc.size(), 300);
    QCOMPARE(ooc.first(), "line 3");
    QCOMPARE(ooc.last(), "line 302");
    QCOMPARE(linesOf(panel, "Chat"), QStringList{"upper"});
}

// Shown panels: long lines wrap to the width, and a tab follows its newest
// line only while the player has not scrolled up to read.
void tst_ChannelPanel::wrapsAndFollowsNewestOnlyAtBottom()
{
    ChannelPanel panel;
    panel.resize(200, 300);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    auto* tabs = panel.findChild<QTabWidget*>();
    auto* ooc = qobject_cast<QListWidget*>(tabs->widget(0));
    panel.addMessage("OOC", "short");
    panel.addMessage("OOC", QString("word ").repeated(30).trimmed());
    const auto height = [ooc](int row) {
        return ooc->visualItemRect(ooc->item(row)).height();
    };
    QTRY_VERIFY(height(1) >= 3 * height(0));
    // Wider, the same line needs fewer rows; far wider, a single one.
    const int narrowHeight = height(1);
    panel.resize(400, 300);
    QTRY_VERIFY(height(1) < narrowHeight && height(1) > height(0));
    panel.resize(2000, 300);
    QTRY_COMPARE(height(1), height(0));
    panel.resize(200, 300);
    QTRY_COMPARE(height(1), narrowHeight);

    tabs->setCurrentIndex(1);
    auto* chat = qobject_cast<QListWidget*>(tabs->widget(1));
    QScrollBar* bar = chat->verticalScrollBar();
    for (int i = 1; i <= 300; ++i)
        panel.addMessage("Chat", QString("line %1").arg(i));
    QTRY_VERIFY(bar->maximum() > 0);
    QTRY_COMPARE(bar->value(), bar->maximum());
    // A tab filled while hidden opens at its newest line.
    for (int i = 1; i <= 100; ++i)
        panel.addMessage("Tell", QString("tell %1").arg(i));
    tabs->setCurrentIndex(7);
    QScrollBar* tellBar = qobject_cast<QListWidget*>(tabs->widget(7))->verticalScrollBar();
    QTRY_VERIFY(tellBar->maximum() > 0);
    QTRY_COMPARE(tellBar->value(), tellBar->maximum());
    tabs->setCurrentIndex(1);

    // Scrolled up to read: new lines, even ones that trim the oldest, keep the
    // line at the top where it is; back at the bottom it follows again.
    chat->scrollToItem(chat->item(99), QAbstractItemView::PositionAtTop);
    QCOMPARE(chat->itemAt(0, 0)->text(), "line 100");
    for (int i = 301; i <= 310; ++i)
        panel.addMessage("Chat", QString("line %1").arg(i));
    QCoreApplication::processEvents();
    QCOMPARE(chat->itemAt(0, 0)->text(), "line 100");
    bar->setValue(bar->maximum());
    panel.addMessage("Chat", "newest");
    QTRY_COMPARE(bar->value(), bar->maximum());
    QVERIFY(chat->viewport()->rect().contains(chat->visualItemRect(chat->item(chat->count() - 1))));
}

OLVEX_TEST_MAIN(tst_ChannelPanel, QApplication)
#include "tst_ChannelPanel.moc"
