#include <QCheckBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSlider>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/SettingsDialog.h"

class tst_SettingsDialog : public QObject {
    Q_OBJECT

private slots:
    void fontIsLiveOptionsWaitForOk_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<QStringList>("events");
        QTest::newRow("ok") << int(QDialogButtonBox::Ok)
                            << QStringList({"font 6", "font 24", "echo 0", "repeat 1"});
        QTest::newRow("cancel") << int(QDialogButtonBox::Cancel) << QStringList({"font 6", "font 24"});
    }
    void fontIsLiveOptionsWaitForOk();
    void remembersOptionsPerCharacter();
};

void tst_SettingsDialog::fontIsLiveOptionsWaitForOk()
{
    QFETCH(int, button);
    SettingsDialog dialog;
    QStringList events;
    const auto record = [&events](const char* what) {
        return [&events, what](int v) {
            events << what + QString(" %1").arg(v);
        };
    };
    connect(&dialog, &SettingsDialog::fontSizeChanged, &dialog, record("font"));
    connect(&dialog, &SettingsDialog::echoInputChanged, &dialog, record("echo"));
    connect(&dialog, &SettingsDialog::repeatModeChanged, &dialog, record("repeat"));
    QCOMPARE(dialog.getFontSize(), 10);

    auto* slider = dialog.findChild<QSlider*>();
    slider->setValue(0);
    slider->setValue(99); // the size stays within 6..24
    QCOMPARE(dialog.getFontSize(), 24);

    dialog.findChildren<QCheckBox*>().at(1)->setChecked(true);
    dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::StandardButton(button))->click();
    QTEST(events, "events");
}

void tst_SettingsDialog::remembersOptionsPerCharacter()
{
    const Character ann{"Ann", "", "a.example", 4000, ""};
    const Character bob{"Bob", "", "a.example", 4000, ""};
    auto open = [](const Character& who, int fontSize, bool untickEcho, int button) {
        SettingsDialog dialog;
        int reported = 0;
        connect(&dialog, &SettingsDialog::fontSizeChanged, &dialog,
                [&reported](int size) { reported = size; });
        dialog.showCurrent(who, fontSize);
        const QStringList shown{QString::number(dialog.getFontSize()), QString::number(dialog.getEchoInput()),
                                QString::number(dialog.getRepeatMode())};
        if (untickEcho)
            dialog.findChildren<QCheckBox*>().at(0)->setChecked(false);
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::StandardButton(button))->click();
        return reported == 0 ? shown : QStringList{"size reported"}; // showing is not changing
    };
    QCOMPARE(open(ann, 14, true, QDialogButtonBox::Cancel), QStringList({"14", "1", "1"}));
    QCOMPARE(open(ann, 14, true, QDialogButtonBox::Ok), QStringList({"14", "1", "1"}));
    QCOMPARE(open(ann, 8, false, QDialogButtonBox::Ok), QStringList({"8", "0", "1"}));
    QCOMPARE(open(bob, 8, false, QDialogButtonBox::Ok), QStringList({"8", "1", "1"}));
    QVERIFY(!SettingsDialog::storedEchoInput(ann));
}

OLVEX_TEST_MAIN(tst_SettingsDialog, QApplication)
#include "tst_SettingsDialog.moc"
