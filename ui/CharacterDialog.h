#pragma once

#include <QDialog>

#include "storage/Character.h"

class QLineEdit;

// Edits one character profile. It checks nothing itself: the caller decides
// whether what came back is complete.
class CharacterDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CharacterDialog)

public:
    explicit CharacterDialog(QWidget* parent = nullptr);

    void setCharacter(const Character& character);
    Character getCharacter() const;

private:
    void setupUi();

    QLineEdit* nameEdit = nullptr;
    QLineEdit* hostEdit = nullptr;
    QLineEdit* portEdit = nullptr;
    QLineEdit* mudNameEdit = nullptr;
    QLineEdit* passwordEdit = nullptr;
};
