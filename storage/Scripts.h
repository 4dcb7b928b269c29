#pragma once

#include <QJsonObject>
#include <QList>
#include <QMetaType>
#include <QString>

// The script items of one character. Each record is a plain value that reads
// itself leniently from JSON: a missing or wrong-typed key gives the default.

struct Alias final {
    QString name;
    QString alias;
    QString commands;
    QString group;
    bool enabled = true;

    QJsonObject toJson() const;
    static Alias fromJson(const QJsonObject& object);
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

    QJsonObject toJson() const;
    static Trigger fromJson(const QJsonObject& object);
    bool operator==(const Trigger& o) const;
};

struct Timer final {
    QString name;
    int intervalMs = 0;
    QString type = QStringLiteral("repeat");
    QString commands;
    QString group;
    bool enabled = true;

    QJsonObject toJson() const;
    static Timer fromJson(const QJsonObject& object);
    bool operator==(const Timer& o) const;
};

struct Variable final {
    QString name;
    QString value;
    QString group;

    QJsonObject toJson() const;
    static Variable fromJson(const QJsonObject& object);
    bool operator==(const Variable& o) const;
};

struct QuickAction final {
    QString label;
    QString command;
    bool enabled = true;

    QJsonObject toJson() const;
    static QuickAction fromJson(const QJsonObject& object);
    bool operator==(const QuickAction& o) const;
};

struct KeyBinding final {
    QString name;
    QString keySequence;
    QString commands;
    QString group;
    bool enabled = true;

    QJsonObject toJson() const;
    static KeyBinding fromJson(const QJsonObject& object);
    bool operator==(const KeyBinding& o) const;
};

struct LuaModule final {
    QString name;
    bool enabled = true;
    int loadOrder = 0;

    QJsonObject toJson() const;
    static LuaModule fromJson(const QJsonObject& object);
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

    QJsonObject toJson() const;
    static Scripts fromJson(const QJsonObject& object);
    bool operator==(const Scripts& o) const;
};

Q_DECLARE_METATYPE(Scripts)
Q_DECLARE_METATYPE(KeyBinding)
