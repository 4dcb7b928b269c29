#include "storage/Scripts.h"

#include <QJsonArray>

#include "storage/JsonFields.h"

using namespace JsonFields;

QJsonObject Alias::toJson() const
{
    return {{"name", name}, {"alias", alias}, {"commands", commands}, {"group", group}, {"enabled", enabled}};
}

Alias Alias::fromJson(const QJsonObject& object)
{
    Alias a;
    a.name = readString(object, "name");
    a.alias = readString(object, "alias");
    a.commands = readString(object, "commands");
    a.group = readString(object, "group");
    a.enabled = readBool(object, "enabled", true);
    return a;
}

bool Alias::operator==(const Alias& o) const
{
    return name == o.name && alias == o.alias && commands == o.commands && group == o.group &&
           enabled == o.enabled;
}

QJsonObject Trigger::toJson() const
{
    return {{"name", name},
            {"pattern", pattern},
            {"commands", commands},
            {"group", group},
            {"regex", regex},
            {"enabled", enabled},
            {"highlight", highlight},
            {"highlightColor", highlightColor},
            {"highlightFullLine", highlightFullLine}};
}

Trigger Trigger::fromJson(const QJsonObject& object)
{
    Trigger t;
    t.name = readString(object, "name");
    t.pattern = readString(object, "pattern");
    t.commands = readString(object, "commands");
    t.group = readString(object, "group");
    t.regex = readBool(object, "regex", false);
    t.enabled = readBool(object, "enabled", true);
    t.highlight = readBool(object, "highlight", false);
    t.highlightColor = readString(object, "highlightColor", QStringLiteral("#FFFF00"));
    t.highlightFullLine = readBool(object, "highlightFullLine", true);
    return t;
}

bool Trigger::operator==(const Trigger& o) const
{
    return name == o.name && pattern == o.pattern && commands == o.commands && group == o.group &&
           regex == o.regex && enabled == o.enabled && highlight == o.highlight &&
           highlightColor == o.highlightColor && highlightFullLine == o.highlightFullLine;
}

QJsonObject Timer::toJson() const
{
    return {{"name", name},         {"intervalMs", intervalMs}, {"type", type},
            {"commands", commands}, {"group", group},           {"enabled", enabled}};
}

Timer Timer::fromJson(const QJsonObject& object)
{
    Timer t;
    t.name = readString(object, "name");
    t.intervalMs = readInt(object, "intervalMs", 0);
    t.type = readString(object, "type", QStringLiteral("repeat"));
    t.commands = readString(object, "commands");
    t.group = readString(object, "group");
    t.enabled = readBool(object, "enabled", true);
    return t;
}

bool Timer::operator==(const Timer& o) const
{
    return name == o.name && intervalMs == o.intervalMs && type == o.type && commands == o.commands &&
           group == o.group && enabled == o.enabled;
}

QJsonObject Variable::toJson() const
{
    return {{"name", name}, {"value", value}, {"group", group}};
}

Variable Variable::fromJson(const QJsonObject& object)
{
    Variable v;
    v.name = readString(object, "name");
    v.value = readString(object, "value");
    v.group = readString(object, "group");
    return v;
}

bool Variable::operator==(const Variable& o) const
{
    return name == o.name && value == o.value && group == o.group;
}

QJsonObject QuickAction::toJson() const
{
    return {{"label", label}, {"command", command}, {"enabled", enabled}};
}

QuickAction QuickAction::fromJson(const QJsonObject& object)
{
    QuickAction q;
    q.label = readString(object, "label");
    q.command = readString(object, "command");
    q.enabled = readBool(object, "enabled", true);
    return q;
}

bool QuickAction::operator==(const QuickAction& o) const
{
    return label == o.label && command == o.command && enabled == o.enabled;
}

QJsonObject KeyBinding::toJson() const
{
    return {{"name", name},
            {"keySequence", keySequence},
            {"commands", commands},
            {"group", group},
            {"enabled", enabled}};
}

KeyBinding KeyBinding::fromJson(const QJsonObject& object)
{
    KeyBinding k;
    k.name = readString(object, "name");
    k.keySequence = readString(object, "keySequence");
    k.commands = readString(object, "commands");
    k.group = readString(object, "group");
    k.enabled = readBool(object, "enabled", true);
    return k;
}

bool KeyBinding::operator==(const KeyBinding& o) const
{
    return name == o.name && keySequence == o.keySequence && commands == o.commands && group == o.group &&
           enabled == o.enabled;
}

QJsonObject LuaModule::toJson() const
{
    return {{"name", name}, {"enabled", enabled}, {"loadOrder", loadOrder}};
}

LuaModule LuaModule::fromJson(const QJsonObject& object)
{
    LuaModule m;
    m.name = readString(object, "name");
    m.enabled = readBool(object, "enabled", true);
    m.loadOrder = readInt(object, "loadOrder", 0);
    return m;
}

bool LuaModule::operator==(const LuaModule& o) const
{
    return name == o.name && enabled == o.enabled && loadOrder == o.loadOrder;
}

namespace {

template <typename Record> QJsonArray toArray(const QList<Record>& records)
{
    QJsonArray array;
    for (const Record& r : records)
        array.append(r.toJson());
    return array;
}

template <typename Record> QList<Record> fromArray(const QJsonObject& object, const QString& key)
{
    QList<Record> records;
    const QJsonValue value = object.value(key);
    if (!value.isArray())
        return records;
    const QJsonArray array = value.toArray();
    records.reserve(array.size());
    for (const QJsonValue& element : array)
        records.append(Record::fromJson(element.toObject()));
    return records;
}

} // namespace

QJsonObject Scripts::toJson() const
{
    return {{"aliases", toArray(aliases)},
            {"triggers", toArray(triggers)},
            {"timers", toArray(timers)},
            {"variables", toArray(variables)},
            {"quickActions", toArray(quickActions)},
            {"keyBindings", toArray(keyBindings)},
            {"luaModules", toArray(luaModules)}};
}

Scripts Scripts::fromJson(const QJsonObject& object)
{
    Scripts s;
    s.aliases = fromArray<Alias>(object, "aliases");
    s.triggers = fromArray<Trigger>(object, "triggers");
    s.timers = fromArray<Timer>(object, "timers");
    s.variables = fromArray<Variable>(object, "variables");
    s.quickActions = fromArray<QuickAction>(object, "quickActions");
    s.keyBindings = fromArray<KeyBinding>(object, "keyBindings");
    s.luaModules = fromArray<LuaModule>(object, "luaModules");
    return s;
}

bool Scripts::operator==(const Scripts& o) const
{
    return aliases == o.aliases && triggers == o.triggers && timers == o.timers && variables == o.variables &&
           quickActions == o.quickActions && keyBindings == o.keyBindings && luaModules == o.luaModules;
}
