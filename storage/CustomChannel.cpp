#include "storage/CustomChannel.h"

#include "storage/JsonFields.h"

using namespace JsonFields;

QJsonObject CustomChannel::toJson() const
{
    return {{"name", name}, {"pattern", pattern}, {"enabled", enabled}};
}

CustomChannel CustomChannel::fromJson(const QJsonObject& object)
{
    CustomChannel c;
    c.name = readString(object, "name");
    c.pattern = readString(object, "pattern");
    c.enabled = readBool(object, "enabled", true);
    return c;
}
