#pragma once

#include <QList>
#include <QMap>
#include <QMessageBox>
#include <QString>
#include <QWidget>

#include "storage/Scripts.h"

class QLabel;
class QListWidget;
class QPlainTextEdit;

// The script editor's page for one character's Lua modules: the ordered list,
// the code of one module at a time, and package export and import. Module
// files are edited in place in the character's script directory; the list
// itself belongs to whoever owns the character's scripts, who hears of every
// change through modulesChanged.
class LuaScriptTab : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LuaScriptTab)

public:
    explicit LuaScriptTab(QWidget* parent = nullptr);

    void setModules(const QList<LuaModule>& modules, const QString& scriptDir);
    QList<LuaModule> getModules() const;
    // Off (the default), an import reports every module the package holds,
    // those already present included, and always announces the list. On, it
    // reports only what it brought in, and announces only a list that grew.
    void setCountsOnlyImported(bool on) { countsOnlyImported = on; }

signals:
    void modulesChanged(const QList<LuaModule>& modules);
    // Module code on disk changed: a module was saved, or an import brought
    // in modules (after modulesChanged, when the list grew too).
    void moduleCodeChanged();

protected:
    // Every question and message goes through these, so a test can answer
    // them without running a modal loop. Cancel is an empty string.
    virtual QString askText(const QString& title, const QString& label);
    virtual bool askYesNo(const QString& title, const QString& text);
    virtual QString askOpenFileName(const QString& title, const QString& filter);
    virtual QString askSaveFileName(const QString& title, const QString& filter);
    virtual void showMessage(QMessageBox::Icon icon, const QString& title, const QString& text);

private slots:
    void onModuleSelected(int row);
    void onCodeEdited();
    void onNewModule();
    void onDeleteModule();
    void onMoveUp();
    void onMoveDown();
    void onSaveModule();
    void onReloadModule();
    void onImportPackage();
    void onExportPackage();

private:
    void createUI();
    QWidget* createModuleListPane(QWidget* parent);
    QWidget* createCodePane(QWidget* parent);
    int addImportedModules(const QList<LuaModule>& imported, const QStringList& writtenFiles);
    void updateModuleList();
    void saveModuleCode();
    void loadModuleCode(const QString& name);
    void updateStatus();
    void promptNewModuleName();
    void moveCurrent(int offset);
    void clearSelection();
    QString moduleFilePath(const QString& name) const;
    bool hasCurrent() const { return currentRow >= 0 && currentRow < modules.size(); }

    QList<LuaModule> modules;
    QString scriptDir;
    int currentRow = -1;
    bool modified = false;
    QMap<QString, QString> codeCache;

    QListWidget* list = nullptr;
    QPlainTextEdit* editor = nullptr;
    QLabel* status = nullptr;
    bool countsOnlyImported = false;
};
