#include "ui/VitalsWidget.h"

#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>

#include <limits>

#include "ui/Theme.h"

namespace {

// Caption and bar share a row one part to three, so the numbers stay
// readable while the bar gets most of the width.
constexpr int kCaptionStretch = 1;
constexpr int kBarStretch = 3;

QProgressBar* makeBar(QLatin1String objectName, const QString& accessibleName, QWidget* parent)
{
    auto* bar = new QProgressBar(parent);
    bar->setObjectName(objectName);
    bar->setAccessibleName(accessibleName);
    bar->setRange(0, 100);
    bar->setValue(0);
    bar->setTextVisible(true);
    bar->setFormat(QStringLiteral("%p%"));
    return bar;
}

QLabel* makeCaption(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

VitalsWidget::VitalsWidget(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(Theme::panelStyleSheet());

    plBar = makeBar(Theme::kPowerLevelBar, tr("Power level"), this);
    kiBar = makeBar(Theme::kKiBar, tr("Ki"), this);
    fatigueBar = makeBar(Theme::kFatigueBar, tr("Fatigue"), this);
    plLabel = makeCaption(QStringLiteral("PL:"), this);
    kiLabel = makeCaption(QStringLiteral("Ki:"), this);
    fatigueLabel = makeCaption(QStringLiteral("Fatigue:"), this);

    // Three rows of caption and bar. A grid rather than three separate rows,
    // so a long caption ("Ki: 1234567/2000000") does not push only its own
    // bar to the right: the bars stay aligned.
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(6);
    layout->setColumnStretch(0, kCaptionStretch);
    layout->setColumnStretch(1, kBarStretch);
    const QList<QPair<QLabel*, QProgressBar*>> rows = {
        {plLabel, plBar}, {kiLabel, kiBar}, {fatigueLabel, fatigueBar}};
    for (int row = 0; row < rows.size(); ++row) {
        layout->addWidget(rows.at(row).first, row, 0);
        layout->addWidget(rows.at(row).second, row, 1);
    }
}

void VitalsWidget::updatePL(qint64 current, qint64 max)
{
    updateRow(plBar, plLabel, QStringLiteral("PL: %1/%2"), current, max);
}

void VitalsWidget::updateKi(qint64 current, qint64 max)
{
    updateRow(kiBar, kiLabel, QStringLiteral("Ki: %1/%2"), current, max);
}

void VitalsWidget::updateFatigue(qint64 current, qint64 max)
{
    updateRow(fatigueBar, fatigueLabel, QStringLiteral("Fatigue: %1/%2"), current, max);
}

int VitalsWidget::percentOf(qint64 current, qint64 max)
{
    if (max <= 0)
        return 0;
    if (current > max)
        return 100;
    // Values come from the server as 64-bit numbers; current * 100 must not
    // overflow for huge ones, so those take the (exact enough) wide route.
    qint64 scaled = 0;
    if (!qMulOverflow(current, qint64(100), &scaled))
        return int(qMax<qint64>(scaled / max, std::numeric_limits<int>::min()));
    const long double share = static_cast<long double>(current) * 100 / max;
    return int(qMax<long double>(share, std::numeric_limits<int>::min()));
}

void VitalsWidget::updateRow(QProgressBar* bar, QLabel* caption, const QString& format, qint64 current,
                             qint64 max)
{
    if (max <= 0)
        return;
    bar->setMaximum(100);
    // A negative share lies outside the bar's range, so the bar ignores it.
    bar->setValue(percentOf(current, max));
    caption->setText(format.arg(current).arg(max));
}
