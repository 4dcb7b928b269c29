#include <QDir>
#include <QFileInfo>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "ui/ConnectScreen.h"

class tst_ConnectScreen : public QObject {
    Q_OBJECT

private slots:
    void init();
    void groupsByHostInStoredOrder();
    void buttonsAskOnlyForACharacterRow();
    void preselectsTheLastPlayedCharacter();
    void keyboardWorksWithoutTheMouse();
};

namespace {

Character makeCharacter(const QString& name, const QString& host, int port)
{
    return {name, "secret-" + name, host, port, "Mud of " + name};
}

// Stored order deliberately differs from the display order.
const QList<Character> kStored = {
    makeCharacter("Bulma", "zeta.example", 4000),
    makeCharacter("Goku", "alpha.example", 8500),
    makeCharacter("Krillin", "zeta.example", 4001),
    makeCharacter("Vegeta", "alpha.example", 8501),
};

QTreeWidget* treeOf(ConnectScreen& screen)
{
    return screen.findChild<QTreeWidget*>();
}

QTreeWidgetItem* rowOf(ConnectScreen& screen, const QString& name)
{
    return treeOf(screen)->findItems(name, Qt::MatchExactly | Qt::MatchRecursive).value(0);
}

// Every request the screen makes, as "kind" and the character it carries.
struct Requests {
    explicit Requests(ConnectScreen& screen)
    {
        auto record = [this](const char* kind) {
            return [this, kind](const Character& c) {
                log.append(qMakePair(QString(kind), c));
            };
        };
        QObject::connect(&screen, &ConnectScreen::connect, &screen, record("connect"));
        QObject::connect(&screen, &ConnectScreen::editCharacter, &screen, record("edit"));
        QObject::connect(&screen, &ConnectScreen::deleteCharacter, &screen, record("delete"));
        QObject::connect(&screen, &ConnectScreen::addCharacter, &screen,
                         [this] { log.append(qMakePair(QString("add"), Character())); });
    }
    QList<QPair<QString, Character>> log;
};

void pressAllButtons(ConnectScreen& screen)
{
    for (const char* text : {"✎ Edit", "⊘ Delete", "⚡ CONNECT", "+ Add New"}) {
        for (QPushButton* button : screen.findChildren<QPushButton*>()) {
            if (button->text() == text)
                button->click();
        }
    }
    // Called directly too, as a disabled button would hide a missing check.
    screen.onEditClicked();
    screen.onDeleteClicked();
    screen.onConnectClicked();
}

} // namespace

void tst_ConnectScreen::init()
{
    Storage* storage = Storage::instance();
    QDir(QFileInfo(storage->getStoragePath()).absolutePath()).removeRecursively();
    storage->load();
    storage->setCharacters(kStored);
}

void tst_ConnectScreen::groupsByHostInStoredOrder()
{
    ConnectScreen screen;
    QTreeWidget* tree = treeOf(screen);
    QCOMPARE(tree->columnCount(), 2);
    QCOMPARE(tree->headerItem()->text(0), "Character");

    QCOMPARE(tree->topLevelItemCount(), 2);
    QTreeWidgetItem* alpha = tree->topLevelItem(0);
    QTreeWidgetItem* zeta = tree->topLevelItem(1);
    QCOMPARE(alpha->text(0), "alpha.example  (2)");
    QCOMPARE(zeta->text(0), "zeta.example  (2)");
    QVERIFY(!(alpha->flags() & Qt::ItemIsSelectable));
    QVERIFY(alpha->isExpanded() && zeta->isExpanded());

    QCOMPARE(alpha->child(0)->text(0), "Goku");
    QCOMPARE(alpha->child(0)->text(1), "alpha.example:8500");
    QCOMPARE(alpha->child(1)->text(0), "Vegeta");
    QCOMPARE(zeta->child(0)->text(0), "Bulma");
    QCOMPARE(zeta->child(1)->text(0), "Krillin");
}

void tst_ConnectScreen::buttonsAskOnlyForACharacterRow()
{
    ConnectScreen screen;
    Requests requests(screen);
    treeOf(screen)->setCurrentItem(rowOf(screen, "Vegeta"));
    pressAllButtons(screen);
    const Character vegeta = kStored.at(3);
    const QList<QPair<QString, Character>> expected = {
        {"edit", vegeta}, {"delete", vegeta}, {"connect", vegeta}, {"add", {}},
        {"edit", vegeta}, {"delete", vegeta}, {"connect", vegeta}};
    QCOMPARE(requests.log, expected);

    requests.log.clear();
    treeOf(screen)->setCurrentItem(nullptr);
    pressAllButtons(screen);
    treeOf(screen)->setCurrentItem(treeOf(screen)->topLevelItem(0));
    pressAllButtons(screen);
    Storage::instance()->setCharacters({});
    screen.loadCharacters();
    QCOMPARE(treeOf(screen)->topLevelItemCount(), 0);
    pressAllButtons(screen);
    const QList<QPair<QString, Character>> onlyAdds(3, qMakePair(QString("add"), Character()));
    QCOMPARE(requests.log, onlyAdds);
}

void tst_ConnectScreen::preselectsTheLastPlayedCharacter()
{
    Storage::instance()->setActiveCharacterIndex(2);
    ConnectScreen screen;
    QCOMPARE(treeOf(screen)->currentItem(), rowOf(screen, "Krillin"));

    // A reload after an edit stays on the row the player picked.
    treeOf(screen)->setCurrentItem(rowOf(screen, "Goku"));
    screen.loadCharacters();
    QCOMPARE(treeOf(screen)->currentItem(), rowOf(screen, "Goku"));

    // An index left over from a longer list selects nothing.
    treeOf(screen)->setCurrentItem(nullptr);
    Storage::instance()->setActiveCharacterIndex(4);
    screen.loadCharacters();
    QCOMPARE(treeOf(screen)->currentItem(), nullptr);
}

void tst_ConnectScreen::keyboardWorksWithoutTheMouse()
{
    Storage::instance()->setActiveCharacterIndex(3);
    ConnectScreen screen;
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    Requests requests(screen);
    QTreeWidget* tree = treeOf(screen);
    QCOMPARE(tree->currentItem(), rowOf(screen, "Vegeta"));

    // The arrow keys step over the group rows.
    QTest::keyClick(tree, Qt::Key_Down);
    QCOMPARE(tree->currentItem(), rowOf(screen, "Bulma"));
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(tree, Qt::Key_Up);
    QCOMPARE(tree->currentItem(), rowOf(screen, "Goku"));

    QTest::keyClick(tree, Qt::Key_Return);
    const QList<QPair<QString, Character>> expected = {{"connect", kStored.at(1)}};
    QCOMPARE(requests.log, expected);

    // Double-click is deliberately inert.
    const QPoint goku = tree->visualItemRect(rowOf(screen, "Goku")).center();
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, goku);
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, goku);
    QCOMPARE(requests.log, expected);
}

OLVEX_TEST_MAIN(tst_ConnectScreen, QApplication)
#include "tst_ConnectScreen.moc"
