#include <QLineEdit>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/CharacterDialog.h"

class tst_CharacterDialog : public QObject {
    Q_OBJECT

private slots:
    void roundTripKeepsFieldsAsTyped();
    void portTextIsReadAsDecimal_data();
    void portTextIsReadAsDecimal();
};

namespace {

QLineEdit* field(CharacterDialog& dialog, int index)
{
    return dialog.findChildren<QLineEdit*>().value(index);
}

} // namespace

void tst_CharacterDialog::roundTripKeepsFieldsAsTyped()
{
    const Character character{" Goku ", "p@ss word", "mud.example.org", 8500, "Olvex"};

    CharacterDialog dialog;
    dialog.setCharacter(character);
    QCOMPARE(dialog.getCharacter(), character);

    // Fields in the order name, host, port, MUD name, password; the password
    // must never be shown in clear.
    QCOMPARE(field(dialog, 2)->text(), "8500");
    QCOMPARE(field(dialog, 4)->text(), "p@ss word");
    QCOMPARE(field(dialog, 4)->echoMode(), QLineEdit::Password);
}

void tst_CharacterDialog::portTextIsReadAsDecimal_data()
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

void tst_CharacterDialog::portTextIsReadAsDecimal()
{
    QFETCH(QString, text);
    QFETCH(int, port);
    CharacterDialog dialog;
    field(dialog, 2)->setText(text);
    QCOMPARE(dialog.getCharacter().port, port);
}

OLVEX_TEST_MAIN(tst_CharacterDialog, QApplication)
#include "tst_CharacterDialog.moc"
