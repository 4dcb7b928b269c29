#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "ui/CharacterDialog.h"
#include "ui/ConnectScreen.h"

namespace {

// Stored order deliberately differs from the display order.
const QList<Character> kStored = {
    {"Bulma", "pw", "zeta.example", 4000, "Z"},
    {"Goku", "pw", "alpha.example", 8500, "A"},
    {"Krillin", "pw", "zeta.example", 4001, "Z"},
    {"Vegeta", "pw", "alpha.example", 8501, "A"},
};

QTreeWidgetItem* rowOf(ConnectScreen& screen, const QString& name)
{
    return screen.findChild<QTreeWidget*>()->findItems(name, Qt::MatchExactly | Qt::MatchRecursive).value(0);
}

// Every request the screen makes, as "kind name"; a character that differs
// from the stored one in any field is marked.
struct Requests {
    explicit Requests(ConnectScreen& screen)
    {
        auto record = [this](const char* kind) {
            return [this, kind](const Character& c) {
                log << kind + (" " + c.name) + (kStored.contains(c) ? "" : " altered");
            };
        };
        QObject::connect(&screen, &ConnectScreen::connect, &screen, record("connect"));
        QObject::connect(&screen, &ConnectScreen::editCharacter, &screen, record("edit"));
        QObject::connect(&screen, &ConnectScreen::deleteCharacter, &screen, record("delete"));
        QObject::connect(&screen, &ConnectScreen::addCharacter, &screen, [this] { log << "add"; });
    }
    QStringList log;
};

void pressAllButtons(ConnectScreen& screen)
{
    for (QPushButton* button : screen.findChildren<QPushButton*>())
        button->click();
    // Called directly too, as a disabled button would hide a missing check.
    screen.onEditClicked();
    screen.onDeleteClicked();
    screen.onConnectClicked();
}

} // namespace

// The character list and the dialog that edits its characters.
class tst_ConnectScreen : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        Storage* storage = Storage::instance();
        QDir(QFileInfo(storage->getStoragePath()).absolutePath()).removeRecursively();
        storage->load();
        storage->setCharacters(kStored);
    }
    void groupsByHostAndAsksOnlyForCharacterRows();
    void keyboardFromTheLastPlayedCharacter();
    void dialogKeepsFieldsAsTyped();
    void portTextIsReadAsDecimal_data();
    void portTextIsReadAsDecimal();
};

void tst_ConnectScreen::groupsByHostAndAsksOnlyForCharacterRows()
{
    ConnectScreen screen;
    auto* tree = screen.findChild<QTreeWidget*>();
    QStringList shown;
    for (QTreeWidgetItemIterator it(tree); *it; ++it)
        shown << ((*it)->parent() ? "  " : "") + (*it)->text(0) + "|" + (*it)->text(1);
    QCOMPARE(shown,
             QStringList({"alpha.example  (2)|", "  Goku|alpha.example:8500", "  Vegeta|alpha.example:8501",
                          "zeta.example  (2)|", "  Bulma|zeta.example:4000", "  Krillin|zeta.example:4001"}));
    QVERIFY(!(tree->topLevelItem(0)->flags() & Qt::ItemIsSelectable));
    QVERIFY(tree->topLevelItem(0)->isExpanded() && tree->topLevelItem(1)->isExpanded());

    Requests requests(screen);
    tree->setCurrentItem(rowOf(screen, "Vegeta"));
    pressAllButtons(screen);
    requests.log.sort();
    QCOMPARE(requests.log, QStringList({"add", "connect Vegeta", "connect Vegeta", "delete Vegeta",
                                        "delete Vegeta", "edit Vegeta", "edit Vegeta"}));

    // A group row, no row and an empty list leave only Add working.
    requests.log.clear();
    tree->setCurrentItem(tree->topLevelItem(0));
    pressAllButtons(screen);
    tree->setCurrentItem(nullptr);
    pressAllButtons(screen);
    Storage::instance()->setCharacters({});
    screen.loadCharacters();
    QCOMPARE(tree->topLevelItemCount(), 0);
    pressAllButtons(screen);
    QCOMPARE(requests.log, QStringList({"add", "add", "add"}));
}

void tst_ConnectScreen::keyboardFromTheLastPlayedCharacter()
{
    Storage::instance()->setActiveCharacterIndex(2);
    ConnectScreen screen;
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    Requests requests(screen);
    auto* tree = screen.findChild<QTreeWidget*>();
    QCOMPARE(tree->currentItem(), rowOf(screen, "Krillin"));

    // The arrow keys step over the group rows.
    QStringList visited;
    for (Qt::Key key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Down, Qt::Key_Up, Qt::Key_Up, Qt::Key_Up}) {
        QTest::keyClick(tree, key);
        visited << tree->currentItem()->text(0);
    }
    QCOMPARE(visited, QStringList({"Bulma", "Vegeta", "Bulma", "Vegeta", "Goku", "Goku"}));
    QTest::keyClick(tree, Qt::Key_Return);
    // Double-click is deliberately inert.
    const QPoint goku = tree->visualItemRect(rowOf(screen, "Goku")).center();
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, goku);
    QCOMPARE(requests.log, QStringList{"connect Goku"});

    // A reload after an edit stays on the row the player picked; an index
    // left over from a longer list selects nothing.
    screen.loadCharacters();
    QCOMPARE(tree->currentItem(), rowOf(screen, "Goku"));
    tree->setCurrentItem(nullptr);
    Storage::instance()->setActiveCharacterIndex(4);
    screen.loadCharacters();
    QCOMPARE(tree->currentItem(), nullptr);
}

void tst_ConnectScreen::dialogKeepsFieldsAsTyped()
{
    const Character character{" Goku ", "p@ss word", "mud.example.org", 8500, "Olvex"};
    CharacterDialog dialog;
    // Fields in the order name, host, port, MUD name, password.
    const QList<QLineEdit*> fields = dialog.findChildren<QLineEdit*>();
    dialog.setCharacter(Character()); // a new character's port shows its placeholder, not "0"
    QCOMPARE(fields.at(2)->text(), QString());
    dialog.setCharacter(character);
    QCOMPARE(dialog.getCharacter(), character);
    QCOMPARE(fields.at(4)->echoMode(), QLineEdit::Password); // the password is never shown in clear
}

void tst_ConnectScreen::portTextIsReadAsDecimal_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("port");
    QTest::newRow("number") << "4000" << 4000;
    QTest::newRow("letters") << "abc" << 0;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("leading zero is decimal, not octal") << "010" << 10;
    QTest::newRow("hex is not a number") << "0x10" << 0;
    QTest::newRow("beyond int") << "99999999999" << 0;
}

void tst_ConnectScreen::portTextIsReadAsDecimal()
{
    QFETCH(QString, text);
    CharacterDialog dialog;
    dialog.findChildren<QLineEdit*>().at(2)->setText(text);
    QTEST(dialog.getCharacter().port, "port");
}

OLVEX_TEST_MAIN(tst_ConnectScreen, QApplication)
#include "tst_ConnectScreen.moc"
