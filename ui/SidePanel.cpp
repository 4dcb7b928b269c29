#include "ui/SidePanel.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "session/GameSession.h"
#include "ui/ChannelPanel.h"
#include "ui/OpponentWidget.h"
#include "ui/Theme.h"
#include "ui/VitalsWidget.h"

SidePanel::SidePanel(GameSession* session, QWidget* parent)
    : QWidget(parent)
    , session(session)
{
    setMinimumWidth(300);
    vitals = new VitalsWidget(this);
    opponent = new OpponentWidget(this);
    comboLabel = new QLabel(QStringLiteral("COMBO: 0"), this);
    comboLabel->setStyleSheet(Theme::comboLabelStyleSheet());
    // With the combo counter on, the label appears only while a combo runs.
    comboLabel->setVisible(!session->isFeatureEnabled(GameFeature::ComboCounter));
    // With the opponent panel on, it appears when a fight starts.
    opponent->setVisible(!session->isFeatureEnabled(GameFeature::OpponentPanel));

    sideTabs = new QTabWidget(this);
    sideTabs->setAccessibleName(tr("Side panels"));
    // Only the bar is a stop of the Tab cycle (see ChannelPanel).
    sideTabs->setFocusProxy(nullptr);
    sideTabs->setFocusPolicy(Qt::NoFocus);
    channelPanel = new ChannelPanel(sideTabs);
    sideTabs->addTab(channelPanel, QStringLiteral("Channels"));
    sideTabs->addTab(buildStatsTab(), QStringLiteral("Stats"));
    sideTabs->addTab(buildAffectsTab(), QStringLiteral("Affects"));
    sideTabs->addTab(buildRoomTab(), QStringLiteral("Room"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(vitals);
    layout->addWidget(opponent);
    layout->addWidget(comboLabel);
    layout->addWidget(sideTabs, 1);
}

QWidget* SidePanel::buildStatsTab()
{
    auto* page = new QWidget;
    auto* group = new QGroupBox(QStringLiteral("Character Statistics"), page);
    auto* form = new QFormLayout(group);
    for (const CharacterStatus::StatRow& row : CharacterStatus::statRows()) {
        auto* label = new QLabel(QStringLiteral("-"));
        label->setTextFormat(Qt::PlainText); // server text, never markup
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setAccessibleName(row.accessibleName);
        form->addRow(row.caption, label);
        statLabels.append(label);
    }
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(group);
    layout->addStretch(1);
    return page;
}

QWidget* SidePanel::buildAffectsTab()
{
    auto* page = new QWidget;
    auto* group = new QGroupBox(QStringLiteral("Active Affects"), page);
    affectsList = new QListWidget(group);
    affectsList->setAccessibleName(tr("Active affects"));
    auto* groupLayout = new QVBoxLayout(group);
    groupLayout->addWidget(affectsList);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(group);
    return page;
}

QWidget* SidePanel::buildRoomTab()
{
    auto* page = new QWidget;
    roomName = new QLabel(QStringLiteral("Room: Unknown"), page);
    roomName->setStyleSheet(Theme::roomNameStyleSheet());
    roomName->setWordWrap(true);
    roomExits = new QLabel(QStringLiteral("Exits: none"), page);
    roomExits->setWordWrap(true);
    for (QLabel* label : {roomName, roomExits})
        label->setTextFormat(Qt::PlainText);
    roomCharacters = new QListWidget(page);
    roomCharacters->setAccessibleName(tr("Players and NPCs here"));
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(roomName);
    layout->addWidget(roomExits);
    layout->addWidget(new QLabel(QStringLiteral("Players/NPCs:"), page));
    layout->addWidget(roomCharacters, 1);
    return page;
}

QList<QWidget*> SidePanel::focusOrder() const
{
    return QList<QWidget*>{sideTabs->tabBar()} + channelPanel->focusOrder() +
           QList<QWidget*>{affectsList, roomCharacters};
}

void SidePanel::onMsdpUpdated(const QString& name, const QString& value)
{
    const unsigned changed = status.apply(name, value);
    if (changed == CharacterStatus::NoSection)
        return;
    using Vital = CharacterStatus::Vital;
    const struct {
        CharacterStatus::Section section;
        Vital vital;
        void (VitalsWidget::*update)(qint64, qint64);
    } bars[] = {
        {CharacterStatus::PowerLevelSection, Vital::PowerLevel, &VitalsWidget::updatePL},
        {CharacterStatus::KiSection, Vital::Ki, &VitalsWidget::updateKi},
        {CharacterStatus::FatigueSection, Vital::Fatigue, &VitalsWidget::updateFatigue},
    };
    for (const auto& bar : bars) {
        if (changed & bar.section) {
            const CharacterStatus::VitalValue vital = status.vital(bar.vital);
            (vitals->*bar.update)(vital.current, vital.maximum);
        }
    }
    if (changed & CharacterStatus::StatsSection) {
        for (int row : CharacterStatus::statRowsUsing(name))
            statLabels.at(row)->setText(status.statText(row));
    }
    if (changed & CharacterStatus::ComboSection) {
        comboLabel->setText(status.comboText());
        if (session->isFeatureEnabled(GameFeature::ComboCounter))
            comboLabel->setVisible(status.comboActive());
    }
    if (changed & CharacterStatus::OpponentSection)
        showOpponent();
    if (changed & CharacterStatus::AffectsSection) {
        affectsList->clear();
        affectsList->addItems(status.affects());
    }
    if (changed & CharacterStatus::RoomNameSection)
        roomName->setText(status.roomNameText());
    if (changed & CharacterStatus::ExitsSection)
        roomExits->setText(status.exitsText());
    if (changed & CharacterStatus::OccupantsSection) {
        roomCharacters->clear();
        roomCharacters->addItems(status.occupants());
    }
}

void SidePanel::showOpponent()
{
    switch (status.opponentState()) {
    case CharacterStatus::OpponentState::None:
        opponent->clearOpponent();
        break;
    case CharacterStatus::OpponentState::Unknown:
        break;
    case CharacterStatus::OpponentState::Fighting:
        opponent->updateOpponent(status.opponentName(), status.opponentHealth(), status.opponentMaximum());
        if (session->isFeatureEnabled(GameFeature::OpponentPanel))
            opponent->show();
        break;
    }
}
