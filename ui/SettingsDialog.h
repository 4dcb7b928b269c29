#pragma once

#include <QDialog>

#include "ui/Theme.h"

class QCheckBox;
class QLabel;
class QSlider;

// Terminal font size and two command-input options. The dialog keeps no
// settings: it always opens with its defaults and reports through signals.
class SettingsDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsDialog)

public:
    static constexpr int kMinFontSize = Theme::kMinFontSize;
    static constexpr int kMaxFontSize = Theme::kMaxFontSize;
    static constexpr int kDefaultFontSize = Theme::kDefaultFontSize;

    explicit SettingsDialog(QWidget* parent = nullptr);

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
};
