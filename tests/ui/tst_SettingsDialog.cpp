#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/SettingsDialog.h"

class tst_SettingsDialog : public QObject {
    Q_OBJECT

private slots:
    void fontSizeIsReportedWhileOpen();
    void okReportsOptionsInOrderCancelReportsNone();
};

namespace {

QPushButton* button(SettingsDialog& dialog, QDialogButtonBox::StandardButton which)
{
    return dialog.findChild<QDialogButtonBox*>()->button(which);
}

QLabel* valueLabel(SettingsDialog& dialog)
{
    for (QLabel* label : dialog.findChildren<QLabel*>()) {
        if (label->text().endsWith("pt"))
            return label;
    }
    return nullptr;
}

} // namespace

void tst_SettingsDialog::fontSizeIsReportedWhileOpen()
{
    SettingsDialog dialog;
    auto* slider = dialog.findChild<QSlider*>();
    QCOMPARE(slider->minimum(), 6);
    QCOMPARE(slider->maximum(), 24);
    QCOMPARE(dialog.getFontSize(), 10);
    QCOMPARE(valueLabel(dialog)->text(), "10pt");

    QSignalSpy fontSpy(&dialog, &SettingsDialog::fontSizeChanged);
    QSignalSpy echoSpy(&dialog, &SettingsDialog::echoInputChanged);
    slider->setValue(24);
    QCOMPARE(fontSpy.count(), 1);
    QCOMPARE(fontSpy.at(0).at(0).toInt(), 24);
    QCOMPARE(valueLabel(dialog)->text(), "24pt");
    QCOMPARE(echoSpy.count(), 0);
    QCOMPARE(dialog.getFontSize(), 24);
}

void tst_SettingsDialog::okReportsOptionsInOrderCancelReportsNone()
{
    QStringList events;
    auto record = [&events](SettingsDialog& dialog) {
        connect(&dialog, &SettingsDialog::echoInputChanged, &dialog,
                [&events](bool on) { events << QString("echo %1").arg(on); });
        connect(&dialog, &SettingsDialog::repeatModeChanged, &dialog,
                [&events](bool on) { events << QString("repeat %1").arg(on); });
    };

    {
        SettingsDialog dialog;
        record(dialog);
        const QList<QCheckBox*> boxes = dialog.findChildren<QCheckBox*>();
        QCOMPARE(boxes.size(), 2);
        boxes.at(1)->setChecked(true);
        button(dialog, QDialogButtonBox::Ok)->click();
        QCOMPARE(events, QStringList({"echo 0", "repeat 1"}));
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }

    events.clear();
    {
        SettingsDialog dialog;
        record(dialog);
        dialog.findChildren<QCheckBox*>().at(0)->setChecked(true);
        button(dialog, QDialogButtonBox::Cancel)->click();
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }
    QVERIFY(events.isEmpty());
}

OLVEX_TEST_MAIN(tst_SettingsDialog, QApplication)
#include "tst_SettingsDialog.moc"
