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
    return sameFields(*this, o);
}

bool Trigger::operator==(const Trigger& o) const
{
    return sameFields(*this, o);
}

bool Timer::operator==(const Timer& o) const
{
    return sameFields(*this, o);
}

bool Variable::operator==(const Variable& o) const
{
    return sameFields(*this, o);
}

bool QuickAction::operator==(const QuickAction& o) const
{
    return sameFields(*this, o);
}

bool KeyBinding::operator==(const KeyBinding& o) const
{
    return sameFields(*this, o);
}

bool LuaModule::operator==(const LuaModule& o) const
{
    return sameFields(*this, o);
}

bool Scripts::operator==(const Scripts& o) const
{
    return sameFields(*this, o);
}
