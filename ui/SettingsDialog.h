#pragma once

#include <QDialog>
#include <QString>

#include <optional>

#include "storage/Character.h"
#include "ui/Theme.h"

class QCheckBox;
class QLabel;
class QSlider;

// Terminal font size and two command-input options, reported through
// signals. By default the dialog keeps nothing and opens with its defaults;
// showCurrent (for characters with client conveniences) makes it open with
// the size in use and the options remembered for that character.
class SettingsDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsDialog)

public:
    static constexpr int kMinFontSize = Theme::kMinFontSize;
    static constexpr int kMaxFontSize = Theme::kMaxFontSize;
    static constexpr int kDefaultFontSize = Theme::kDefaultFontSize;

    explicit SettingsDialog(QWidget* parent = nullptr);

    void showCurrent(const Character& character, int fontSize);
    // The remembered options; both are on until the player turns them off.
    static bool storedEchoInput(const Character& character);
    static bool storedRepeatMode(const Character& character);
    // For a deleted character: nothing of it stays in the settings file.
    static void forgetOptions(const Character& character);

    int getFontSize() const;
    bool getEchoInput() const;
    bool getRepeatMode() const;

signals:
    void fontSizeChanged(int size);
    void echoInputChanged(bool enabled);
    void repeatModeChanged(bool enabled);

public slots:
    void onFontSizeChanged(int size);
    void onAccepted();

private:
    QSlider* fontSizeSlider = nullptr;
    QLabel* fontSizeValue = nullptr;
    QCheckBox* echoInputBox = nullptr;
    QCheckBox* repeatModeBox = nullptr;
    std::optional<Character> rememberedFor; // none: nothing is remembered
};
