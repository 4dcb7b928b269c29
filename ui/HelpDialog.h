#pragma once

#include <QDialog>

class QTabWidget;

// Three fixed help texts in tabs: the command language, the MSDP variables
// and an About page.
class HelpDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HelpDialog)

public:
    explicit HelpDialog(QWidget* parent = nullptr);

    static QString tinTinSyntaxText();
    static QString msdpVariablesText();
    static QString aboutText();

private:
    void setupUi();
    void addTextTab(const QString& title, const QString& text);

    QTabWidget* tabs = nullptr;
};
