#pragma once

#include <QJsonObject>
#include <QList>
#include <QMetaType>
#include <QString>

#include "storage/JsonFields.h"

// The script items of one character. Each record is a plain value that reads
// itself leniently from JSON: a missing or wrong-typed key gives the default.

struct Alias final {
    QString name;
    QString alias;
    QString commands;
    QString group;
    bool enabled = true;

    // The JSON key of every field, in file order; defaults are the initialisers above.
    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("alias", r.alias);
        visit("commands", r.commands);
        visit("group", r.group);
        visit("enabled", r.enabled);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static Alias fromJson(const QJsonObject& object) { return JsonFields::recordFromJson<Alias>(object); }
    bool operator==(const Alias& o) const;
};

struct Trigger final {
    QString name;
    QString pattern;
    QString commands;
    QString group;
    bool regex = false;
    bool enabled = true;
    bool highlight = false;
    QString highlightColor = QStringLiteral("#FFFF00");
    bool highlightFullLine = true;

    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("pattern", r.pattern);
        visit("commands", r.commands);
        visit("group", r.group);
        visit("regex", r.regex);
        visit("enabled", r.enabled);
        visit("highlight", r.highlight);
        visit("highlightColor", r.highlightColor);
        visit("highlightFullLine", r.highlightFullLine);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static Trigger fromJson(const QJsonObject& object) { return JsonFields::recordFromJson<Trigger>(object); }
    bool operator==(const Trigger& o) const;
};

// How a timer runs. Only the exact texts "repeat" and "once" mean something:
// a repeating timer starts with the scripts, a "once" timer fires a single
// time; any other text is kept as stored, never started on its own, and runs
// like a repeating one when started.
enum class TimerType { Repeat, Once, Unrecognised };
QString timerTypeText(TimerType type);
TimerType timerTypeOf(const QString& text);

struct Timer final {
    QString name;
    int intervalMs = 0;
    QString type = timerTypeText(TimerType::Repeat);
    QString commands;
    QString group;
    bool enabled = true;

    TimerType kind() const { return timerTypeOf(type); }

    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("intervalMs", r.intervalMs);
        visit("type", r.type);
        visit("commands", r.commands);
        visit("group", r.group);
        visit("enabled", r.enabled);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static Timer fromJson(const QJsonObject& object) { return JsonFields::recordFromJson<Timer>(object); }
    bool operator==(const Timer& o) const;
};

struct Variable final {
    QString name;
    QString value;
    QString group;

    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("value", r.value);
        visit("group", r.group);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static Variable fromJson(const QJsonObject& object)
    {
        return JsonFields::recordFromJson<Variable>(object);
    }
    bool operator==(const Variable& o) const;
};

struct QuickAction final {
    QString label;
    QString command;
    bool enabled = true;

    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("label", r.label);
        visit("command", r.command);
        visit("enabled", r.enabled);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static QuickAction fromJson(const QJsonObject& object)
    {
        return JsonFields::recordFromJson<QuickAction>(object);
    }
    bool operator==(const QuickAction& o) const;
};

struct KeyBinding final {
    QString name;
    QString keySequence;
    QString commands;
    QString group;
    bool enabled = true;

    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("keySequence", r.keySequence);
        visit("commands", r.commands);
        visit("group", r.group);
        visit("enabled", r.enabled);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static KeyBinding fromJson(const QJsonObject& object)
    {
        return JsonFields::recordFromJson<KeyBinding>(object);
    }
    bool operator==(const KeyBinding& o) const;
};

struct LuaModule final {
    QString name;
    bool enabled = true;
    int loadOrder = 0;

    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("enabled", r.enabled);
        visit("loadOrder", r.loadOrder);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static LuaModule fromJson(const QJsonObject& object)
    {
        return JsonFields::recordFromJson<LuaModule>(object);
    }
    bool operator==(const LuaModule& o) const;
};

struct Scripts final {
    QList<Alias> aliases;
    QList<Trigger> triggers;
    QList<Timer> timers;
    QList<Variable> variables;
    QList<QuickAction> quickActions;
    QList<KeyBinding> keyBindings;
    QList<LuaModule> luaModules;

    // Every array is written, also when empty; a missing one reads as empty.
    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("aliases", r.aliases);
        visit("triggers", r.triggers);
        visit("timers", r.timers);
        visit("variables", r.variables);
        visit("quickActions", r.quickActions);
        visit("keyBindings", r.keyBindings);
        visit("luaModules", r.luaModules);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static Scripts fromJson(const QJsonObject& object) { return JsonFields::recordFromJson<Scripts>(object); }
    bool operator==(const Scripts& o) const;
};

Q_DECLARE_METATYPE(Scripts)
Q_DECLARE_METATYPE(KeyBinding)
