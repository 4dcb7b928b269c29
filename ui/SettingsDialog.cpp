#include "ui/SettingsDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

#include "storage/Storage.h"
#include "ui/Theme.h"

namespace {

// Both options of one character, kept together among the free settings.
QString optionsKey(const Character& character)
{
    return Storage::instance()->getCharacterKey(character, QStringLiteral("inputOptions"));
}

bool storedOption(const Character& character, const QString& name)
{
    return Storage::instance()->uiValue(optionsKey(character)).toObject().value(name).toBool(true);
}

} // namespace

SettingsDialog::SettingsDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Settings"));
    setMinimumWidth(400);
    setStyleSheet(Theme::panelStyleSheet());

    auto* fontSizeLabel = new QLabel(QStringLiteral("Font Size:"), this);
    fontSizeSlider = new QSlider(Qt::Horizontal, this);
    fontSizeSlider->setRange(kMinFontSize, kMaxFontSize);
    fontSizeSlider->setValue(kDefaultFontSize);
    fontSizeSlider->setPageStep(2);
    fontSizeSlider->setAccessibleName(tr("Font size"));
    fontSizeLabel->setBuddy(fontSizeSlider);
    fontSizeValue = new QLabel(QStringLiteral("%1pt").arg(kDefaultFontSize), this);
    // Room for "24pt" from the start, so the slider does not jump while dragging.
    fontSizeValue->setMinimumWidth(fontSizeValue->fontMetrics().horizontalAdvance("24pt") + 8);
    fontSizeValue->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    echoInputBox = new QCheckBox(QStringLiteral("Echo input commands"), this);
    repeatModeBox = new QCheckBox(QStringLiteral("Enable repeat mode (#N syntax)"), this);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("OK"));
    buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("Cancel"));

    auto* sliderRow = new QHBoxLayout;
    sliderRow->setSpacing(10);
    sliderRow->addWidget(fontSizeSlider, 1);
    sliderRow->addWidget(fontSizeValue);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 12);
    layout->setSpacing(8);
    layout->addWidget(fontSizeLabel);
    layout->addLayout(sliderRow);
    layout->addSpacing(8);
    layout->addWidget(echoInputBox);
    layout->addWidget(repeatModeBox);
    layout->addSpacing(8);
    layout->addStretch(1);
    layout->addWidget(buttons);

    connect(fontSizeSlider, &QSlider::valueChanged, this, &SettingsDialog::onFontSizeChanged);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::onAccepted);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    fontSizeSlider->setFocus();
}

void SettingsDialog::showCurrent(const Character& character, int fontSize)
{
    // Showing a value is not a change, so no signal goes out for it.
    const QSignalBlocker blocker(fontSizeSlider);
    fontSizeSlider->setValue(fontSize);
    fontSizeValue->setText(QStringLiteral("%1pt").arg(fontSizeSlider->value()));
    echoInputBox->setChecked(storedEchoInput(character));
    repeatModeBox->setChecked(storedRepeatMode(character));
    rememberedFor = character;
}

bool SettingsDialog::storedEchoInput(const Character& character)
{
    return storedOption(character, QStringLiteral("echoInput"));
}

bool SettingsDialog::storedRepeatMode(const Character& character)
{
    return storedOption(character, QStringLiteral("repeatMode"));
}

void SettingsDialog::forgetOptions(const Character& character)
{
    // An undefined value removes the key.
    Storage::instance()->setUiValue(optionsKey(character), QJsonValue(QJsonValue::Undefined));
}

int SettingsDialog::getFontSize() const
{
    return fontSizeSlider->value();
}

bool SettingsDialog::getEchoInput() const
{
    return echoInputBox->isChecked();
}

bool SettingsDialog::getRepeatMode() const
{
    return repeatModeBox->isChecked();
}

void SettingsDialog::onFontSizeChanged(int size)
{
    // Emitted while dragging so the player sees the new size at once; Cancel
    // does not take it back.
    fontSizeValue->setText(QStringLiteral("%1pt").arg(size));
    emit fontSizeChanged(size);
}

void SettingsDialog::onAccepted()
{
    if (rememberedFor) {
        Storage::instance()->setUiValue(optionsKey(*rememberedFor),
                                        QJsonObject{{QStringLiteral("echoInput"), getEchoInput()},
                                                    {QStringLiteral("repeatMode"), getRepeatMode()}});
    }
    emit echoInputChanged(getEchoInput());
    emit repeatModeChanged(getRepeatMode());
    accept();
}
