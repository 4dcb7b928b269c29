#include "ui/OpponentWidget.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include "ui/Theme.h"
#include "ui/VitalsWidget.h"

OpponentWidget::OpponentWidget(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(Theme::panelStyleSheet());

    nameLabel = new QLabel(QStringLiteral("Opponent: None"), this);
    nameLabel->setStyleSheet(Theme::labelStyleSheet(Theme::kOpponentName, true));
    // The name comes from the server: never let it be read as markup.
    nameLabel->setTextFormat(Qt::PlainText);
    nameLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);

    healthBar = new QProgressBar(this);
    healthBar->setObjectName(Theme::kOpponentHealthBar);
    healthBar->setAccessibleName(tr("Opponent health"));
    healthBar->setRange(0, 100);
    healthBar->setValue(0);
    healthBar->setFormat(QStringLiteral("%p%"));

    healthLabel = new QLabel(QStringLiteral("HP: 0/0"), this);
    healthLabel->setStyleSheet(Theme::labelStyleSheet(Theme::kOpponentHealth));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(4);
    layout->addWidget(nameLabel);
    layout->addWidget(healthBar);
    layout->addWidget(healthLabel);
}

void OpponentWidget::updateOpponent(const QString& name, qint64 current, qint64 max)
{
    nameLabel->setText(QStringLiteral("Opponent: %1").arg(name));
    // Without a maximum the old health stays: a server that sends the name
    // before the numbers must not blank the bar for a moment.
    if (max <= 0)
        return;
    healthBar->setMaximum(100);
    healthBar->setValue(VitalsWidget::percentOf(current, max));
    healthLabel->setText(QStringLiteral("HP: %1/%2").arg(current).arg(max));
}

void OpponentWidget::clearOpponent()
{
    nameLabel->setText(QStringLiteral("Opponent: None"));
    healthBar->setValue(0);
    healthLabel->setText(QStringLiteral("HP: 0/0"));
}
