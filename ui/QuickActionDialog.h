#pragma once

#include <QDialog>

#include "storage/Scripts.h"

class QCheckBox;
class QLineEdit;

// Edits one labelled command.
class QuickActionDialog : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QuickActionDialog)

public:
    explicit QuickActionDialog(QWidget* parent = nullptr);

    void setQuickAction(const QuickAction& action);
    QuickAction getQuickAction() const;

private:
    QLineEdit* label = nullptr;
    QLineEdit* command = nullptr;
    QCheckBox* enabled = nullptr;
};
