#include <QLabel>
#include <QProgressBar>
#include <QtTest>

#include <limits>

#include "support/TestEnvironment.h"
#include "ui/OpponentWidget.h"
#include "ui/Theme.h"
#include "ui/VitalsWidget.h"

// The vitals and the opponent panel share the percentage rule, so both are
// checked here.
class tst_VitalsWidget : public QObject {
    Q_OBJECT

private slots:
    void vitalRowRules_data();
    void vitalRowRules();
    void opponentKeepsHealthWithoutMaximum();
};

namespace {

enum Row { PowerLevel, Ki, Fatigue };
using Update = void (VitalsWidget::*)(qint64, qint64);
const Update kUpdates[] = {&VitalsWidget::updatePL, &VitalsWidget::updateKi, &VitalsWidget::updateFatigue};

QProgressBar* barOf(VitalsWidget& widget, Row row)
{
    const QLatin1String names[] = {Theme::kPowerLevelBar, Theme::kKiBar, Theme::kFatigueBar};
    return widget.findChild<QProgressBar*>(names[row]);
}

QLabel* captionOf(VitalsWidget& widget, Row row)
{
    return widget.findChildren<QLabel*>().value(row);
}

} // namespace

void tst_VitalsWidget::vitalRowRules_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<qint64>("current");
    QTest::addColumn<qint64>("max");
    QTest::addColumn<int>("percent");
    QTest::addColumn<QString>("caption");

    const qint64 big = 3'000'000'000'000'000'000;
    QTest::newRow("zero max changes nothing") << int(PowerLevel) << qint64(50) << qint64(0) << 0 << "PL:";
    QTest::newRow("over max is a full bar") << int(Ki) << qint64(150) << qint64(100) << 100 << "Ki: 150/100";
    QTest::newRow("share is truncated") << int(Fatigue) << qint64(1) << qint64(3) << 33 << "Fatigue: 1/3";
    QTest::newRow("just under max is not rounded up")
        << int(PowerLevel) << qint64(899) << qint64(900) << 99 << "PL: 899/900";
    QTest::newRow("huge values do not overflow")
        << int(Ki) << big << 3 * big << 33 << QString("Ki: %1/%2").arg(big).arg(3 * big);
    QTest::newRow("negative current leaves bar empty")
        << int(Fatigue) << qint64(-20) << qint64(100) << 0 << "Fatigue: -20/100";
    QTest::newRow("most negative current")
        << int(PowerLevel) << std::numeric_limits<qint64>::min() << qint64(7) << 0
        << QString("PL: %1/7").arg(std::numeric_limits<qint64>::min());
}

void tst_VitalsWidget::vitalRowRules()
{
    QFETCH(int, row);
    QFETCH(qint64, current);
    QFETCH(qint64, max);
    QFETCH(int, percent);
    QFETCH(QString, caption);

    VitalsWidget widget;
    (widget.*kUpdates[row])(current, max);
    QProgressBar* bar = barOf(widget, Row(row));
    QVERIFY(bar);
    QCOMPARE(bar->maximum(), 100);
    QCOMPARE(bar->value(), percent);
    QCOMPARE(captionOf(widget, Row(row))->text(), caption);
}

void tst_VitalsWidget::opponentKeepsHealthWithoutMaximum()
{
    OpponentWidget widget;
    const QList<QLabel*> labels = widget.findChildren<QLabel*>();
    QCOMPARE(labels.size(), 2);
    QLabel* name = labels.at(0);
    QLabel* health = labels.at(1);
    auto* bar = widget.findChild<QProgressBar*>();

    QCOMPARE(name->text(), "Opponent: None");
    QCOMPARE(health->text(), "HP: 0/0");

    widget.updateOpponent("orc", 30, 40);
    QCOMPARE(name->text(), "Opponent: orc");
    QCOMPARE(bar->value(), 75);
    QCOMPARE(health->text(), "HP: 30/40");

    widget.updateOpponent("rat", 5, 0);
    QCOMPARE(name->text(), "Opponent: rat");
    QCOMPARE(bar->value(), 75);
    QCOMPARE(health->text(), "HP: 30/40");

    // A server-sent name is shown as text, never as markup.
    widget.updateOpponent("<b>boss</b>", 1, 2);
    QCOMPARE(name->textFormat(), Qt::PlainText);

    widget.clearOpponent();
    QCOMPARE(name->text(), "Opponent: None");
    QCOMPARE(bar->value(), 0);
    QCOMPARE(health->text(), "HP: 0/0");
}

OLVEX_TEST_MAIN(tst_VitalsWidget, QApplication)
#include "tst_VitalsWidget.moc"
