#include "storage/Scripts.h"

#include "storage/JsonFields.h"

using namespace JsonFields;

namespace {

const QString kRepeatText = QStringLiteral("repeat");
const QString kOnceText = QStringLiteral("once");

} // namespace

QString timerTypeText(TimerType type)
{
    switch (type) {
    case TimerType::Repeat:
        return kRepeatText;
    case TimerType::Once:
        return kOnceText;
    case TimerType::Unrecognised:
        break;
    }
    return QString();
}

TimerType timerTypeOf(const QString& text)
{
    if (text == kRepeatText)
        return TimerType::Repeat;
    if (text == kOnceText)
        return TimerType::Once;
    return TimerType::Unrecognised;
}

bool Alias::operator==(const Alias& o) const
{
    return name == o.name && alias == o.alias && commands == o.commands && group == o.group &&
           enabled == o.enabled;
}

bool Trigger::operator==(const Trigger& o) const
{
    return name == o.name && pattern == o.pattern && commands == o.commands && group == o.group &&
           regex == o.regex && enabled == o.enabled && highlight == o.highlight &&
           highlightColor == o.highlightColor && highlightFullLine == o.highlightFullLine;
}

bool Timer::operator==(const Timer& o) const
{
    return name == o.name && intervalMs == o.intervalMs && type == o.type && commands == o.commands &&
           group == o.group && enabled == o.enabled;
}

bool Variable::operator==(const Variable& o) const
{
    return name == o.name && value == o.value && group == o.group;
}

bool QuickAction::operator==(const QuickAction& o) const
{
    return label == o.label && command == o.command && enabled == o.enabled;
}

bool KeyBinding::operator==(const KeyBinding& o) const
{
    return name == o.name && keySequence == o.keySequence && commands == o.commands && group == o.group &&
           enabled == o.enabled;
}

bool LuaModule::operator==(const LuaModule& o) const
{
    return name == o.name && enabled == o.enabled && loadOrder == o.loadOrder;
}

bool Scripts::operator==(const Scripts& o) const
{
    return aliases == o.aliases && triggers == o.triggers && timers == o.timers && variables == o.variables &&
           quickActions == o.quickActions && keyBindings == o.keyBindings && luaModules == o.luaModules;
}
