#include "storage/Character.h"

#include "storage/JsonFields.h"

using namespace JsonFields;

QString Character::key() const
{
    return name + QLatin1Char('_') + host + QLatin1Char('_') + QString::number(port);
}

QJsonObject Character::toJson() const
{
    return {{"name", name}, {"password", password}, {"host", host}, {"port", port}, {"mudName", mudName}};
}

Character Character::fromJson(const QJsonObject& object)
{
    Character c;
    c.name = readString(object, "name");
    c.password = readString(object, "password");
    c.host = readString(object, "host");
    c.port = readInt(object, "port", 0);
    c.mudName = readString(object, "mudName");
    return c;
}

bool Character::operator==(const Character& other) const
{
    return name == other.name && password == other.password && host == other.host && port == other.port &&
           mudName == other.mudName;
}
