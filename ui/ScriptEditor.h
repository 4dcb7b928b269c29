#pragma once

#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <optional>

#include "storage/Scripts.h"

class GameSession;
class LuaScriptTab;
class QComboBox;
class QTabWidget;
class QTableWidget;

// The window where a player edits one character's aliases, triggers, timers,
// variables, quick actions and Lua modules. It works on a copy and announces
// every change with the whole record; whoever listens applies and stores it.
class ScriptEditor : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ScriptEditor)

public:
    static constexpr int kShownTextLength = 50;

    explicit ScriptEditor(QWidget* parent = nullptr);

    void setSession(GameSession* session);
    void setScripts(const Scripts& scripts);
    Scripts getScripts() const;
    QStringList getAllGroups(const Scripts& scripts) const;
    void addInfoTab(QWidget* widget, const QString& title);
    void showTab(const QString& title);

signals:
    void scriptsChanged(const Scripts& scripts);

public slots:
    void emitScriptsChanged();

    void onAliasAdd();
    void onAliasEdit();
    void onAliasDelete();
    void onAliasGroupChanged(const QString& group);
    void onTriggerAdd();
    void onTriggerEdit();
    void onTriggerDelete();
    void onTriggerGroupChanged(const QString& group);
    void onTimerAdd();
    void onTimerEdit();
    void onTimerDelete();
    void onTimerGroupChanged(const QString& group);
    void onVariableAdd();
    void onVariableEdit();
    void onVariableDelete();
    void onVariableGroupChanged(const QString& group);
    void onQuickActionAdd();
    void onQuickActionEdit();
    void onQuickActionDelete();

    void populateAliasTable(const QString& group);
    void populateTriggerTable(const QString& group);
    void populateTimerTable(const QString& group);
    void populateVariableTable(const QString& group);
    void populateQuickActionTable();

private:
    struct Page {
        QTableWidget* table = nullptr;
        QComboBox* groupFilter = nullptr;
    };

    void setupAliasTab();
    void setupTriggerTab();
    void setupTimerTab();
    void setupVariableTab();
    void setupQuickActionTab();
    void setupLuaTab();
    Page addRecordPage(const QString& title, const QStringList& headers, const std::function<void()>& onAdd,
                       const std::function<void()>& onEdit, const std::function<void()>& onDelete,
                       const std::function<void(const QString&)>& onGroupChanged);
    void refreshGroupFilters();
    std::optional<QString> currentName(const Page& page) const;
    void recordsChanged(void (ScriptEditor::*populate)(const QString&));

    QPointer<GameSession> session;
    Scripts scripts;
    QTabWidget* tabs = nullptr;
    Page aliasPage;
    Page triggerPage;
    Page timerPage;
    Page variablePage;
    Page quickActionPage;
    LuaScriptTab* luaTab = nullptr;
};
