#pragma once

#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <memory>
#include <vector>

#include "storage/Scripts.h"

class GameSession;
class LuaScriptTab;
class QTabWidget;

// The window where a player edits one character's aliases, triggers, timers,
// variables, quick actions and Lua modules (and, with the client's
// conveniences on, key bindings). It works on a copy and announces every
// change with the whole record; whoever listens applies and stores it.
class ScriptEditor : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ScriptEditor)

public:
    static constexpr int kShownTextLength = 50;

    explicit ScriptEditor(QWidget* parent = nullptr);
    ~ScriptEditor() override;

    // Follows the session's scripts from now on: a change made elsewhere (a
    // profile import) replaces the working copy instead of being overwritten
    // by the next edit here.
    void setSession(GameSession* session);
    void setScripts(const Scripts& scripts);
    Scripts getScripts() const;
    QStringList getAllGroups(const Scripts& scripts) const;
    void addInfoTab(QWidget* widget, const QString& title);
    // "Key Bindings" shows the quick actions when the key bindings are not on show.
    void showTab(const QString& title);

signals:
    void scriptsChanged(const Scripts& scripts);

public slots:
    void emitScriptsChanged();

private slots:
    void onSessionScriptsUpdated(const Scripts& scripts);
    void onModuleCodeChanged();

private:
    struct Page;

    template <typename Record>
    Page* addRecordPage(const QString& title, const QStringList& headers, QList<Record> Scripts::*records);
    Page* addPageWidgets(const QString& title, const QStringList& headers, bool grouped);
    void setupLuaTab();
    void onAddClicked(Page& page);
    void onEditClicked(Page& page);
    void onDeleteClicked(Page& page);
    void onGroupChanged(Page& page, const QString& text);
    void recordsChanged(Page& page);
    void populateAll();
    void refreshGroupFilters();
    void updateKeyBindingsPage();
    bool conveniencesEnabled() const;

    QPointer<GameSession> session;
    Scripts scripts;
    QTabWidget* tabs = nullptr;
    std::vector<std::unique_ptr<Page>> pages;
    Page* keyBindingsPage = nullptr;
    LuaScriptTab* luaTab = nullptr;
};
