#include "ui/FeaturesDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "session/GameFeature.h"
#include "ui/DialogButtons.h"
#include "ui/Theme.h"

namespace {

struct FeatureText {
    GameFeature feature;
    const char* label;
    const char* description;
};

// In code order, so the row of a box is its feature code.
const FeatureText kFeatures[FeaturesDialog::kFeatureCount] = {
    {GameFeature::VitalsBars, "Vitals bars", "Power level, ki and fatigue bars fed by MSDP"},
    {GameFeature::ComboCounter, "Combo counter", "The combo label shows only while a combo runs"},
    {GameFeature::OpponentPanel, "Opponent panel", "The opponent's health appears when a fight starts"},
    {GameFeature::CharacterStats, "Character statistics", "Level, race, class and resistances from MSDP"},
    {GameFeature::AffectsList, "Affects list", "Spells and effects active on the character"},
    {GameFeature::AutoLogin, "Auto login", "Log in with the saved name and password"},
    {GameFeature::RoomPanel, "Room panel", "Room name, exits and who is here"},
    {GameFeature::OutputTimestamps, "Output timestamps", "A time stamp before every line of output"},
    {GameFeature::ChannelTabs, "Channel tabs", "Chat lines copied into one tab per channel"},
    {GameFeature::MsdpTracking, "MSDP tracking", "Keep the game state the server sends over MSDP"},
    {GameFeature::TriggerHighlights, "Trigger highlights", "Triggers may colour the lines they match"},
    {GameFeature::StandardTelnet, "Standard telnet",
     "UTF-8, prompts, telnet options and compression, for other servers"},
    {GameFeature::ClientConveniences, "Client conveniences",
     "Echo typed commands, \";\" and \"#\" on the input line, profiles, help and more"},
};

static_assert(int(GameFeature::ClientConveniences) == FeaturesDialog::kFeatureCount - 1,
              "every feature needs a row here");

} // namespace

FeaturesDialog::FeaturesDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Features"));
    setMinimumWidth(480);
    setStyleSheet(Theme::panelStyleSheet());

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 12);
    layout->setSpacing(2);
    for (const FeatureText& row : kFeatures) {
        auto* box = new QCheckBox(QString::fromUtf8(row.label), this);
        const QString description = QString::fromUtf8(row.description);
        box->setAccessibleDescription(description);
        box->setToolTip(description);
        auto* line = new QLabel(description, this);
        line->setWordWrap(true);
        line->setStyleSheet(Theme::featureDescriptionStyleSheet());
        layout->addWidget(box);
        layout->addWidget(line);
        boxes.append(box);
    }

    auto* buttons = DialogButtons::okCancel(this);
    layout->addSpacing(8);
    layout->addWidget(buttons);
}

void FeaturesDialog::setFeatures(const QString& characterName, const QList<int>& enabled)
{
    setWindowTitle(QStringLiteral("Features - %1").arg(characterName));
    original = enabled;
    for (int code = 0; code < boxes.size(); ++code)
        boxes.at(code)->setChecked(enabled.contains(code));
    boxes.first()->setFocus();
}

QList<int> FeaturesDialog::getFeatures() const
{
    QList<int> features;
    for (int code : original) {
        const bool known = code >= 0 && code < boxes.size();
        if ((!known || boxes.at(code)->isChecked()) && !features.contains(code))
            features.append(code);
    }
    for (int code = 0; code < boxes.size(); ++code) {
        if (boxes.at(code)->isChecked() && !features.contains(code))
            features.append(code);
    }
    return features;
}
