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

void tst_VitalsWidget::vitalRowRules_data()
{
    QTest::addColumn<int>("row"); // 0 power level, 1 ki, 2 fatigue
    QTest::addColumn<qint64>("current");
    QTest::addColumn<qint64>("max");
    QTest::addColumn<int>("percent");
    QTest::addColumn<QString>("caption");

    const qint64 big = 3'000'000'000'000'000'000;
    const qint64 lowest = std::numeric_limits<qint64>::min();
    QTest::newRow("zero max changes nothing") << 0 << qint64(50) << qint64(0) << 0 << "PL:";
    QTest::newRow("over max is a full bar") << 1 << qint64(150) << qint64(100) << 100 << "Ki: 150/100";
    QTest::newRow("share is truncated") << 2 << qint64(1) << qint64(3) << 33 << "Fatigue: 1/3";
    QTest::newRow("just under max is not rounded up")
        << 0 << qint64(899) << qint64(900) << 99 << "PL: 899/900";
    QTest::newRow("huge values do not overflow")
        << 1 << big << 3 * big << 33 << QString("Ki: %1/%2").arg(big).arg(3 * big);
    QTest::newRow("negative current leaves bar empty")
        << 2 << qint64(-20) << qint64(100) << 0 << "Fatigue: -20/100";
    QTest::newRow("most negative current")
        << 0 << lowest << qint64(7) << 0 << QString("PL: %1/7").arg(lowest);
}

void tst_VitalsWidget::vitalRowRules()
{
    QFETCH(int, row);
    QFETCH(qint64, current);
    QFETCH(qint64, max);
    VitalsWidget widget;
    const std::array updates{&VitalsWidget::updatePL, &VitalsWidget::updateKi, &VitalsWidget::updateFatigue};
    (widget.*updates[row])(current, max);
    const QLatin1String bars[] = {Theme::kPowerLevelBar, Theme::kKiBar, Theme::kFatigueBar};
    QProgressBar* bar = widget.findChild<QProgressBar*>(bars[row]);
    QTEST(bar->value(), "percent");
    QTEST(widget.findChildren<QLabel*>().value(row)->text(), "caption");
}

void tst_VitalsWidget::opponentKeepsHealthWithoutMaximum()
{
    OpponentWidget widget;
    const QList<QLabel*> labels = widget.findChildren<QLabel*>();
    auto* bar = widget.findChild<QProgressBar*>();
    const auto shown = [&] {
        return labels.at(0)->text() + "|" + labels.at(1)->text() + "|" + QString::number(bar->value());
    };
    QCOMPARE(shown(), "Opponent: None|HP: 0/0|0");
    widget.updateOpponent("orc", 30, 40);
    QCOMPARE(shown(), "Opponent: orc|HP: 30/40|75");
    widget.updateOpponent("rat", 5, 0);
    QCOMPARE(shown(), "Opponent: rat|HP: 30/40|75");
    widget.updateOpponent("<b>boss</b>", 1, 2); // a server-sent name is text, never markup
    QCOMPARE(labels.at(0)->textFormat(), Qt::PlainText);
    widget.clearOpponent();
    QCOMPARE(shown(), "Opponent: None|HP: 0/0|0");
}

OLVEX_TEST_MAIN(tst_VitalsWidget, QApplication)
#include "tst_VitalsWidget.moc"
