#include "storage/Character.h"

QString Character::key() const
{
    return name + QLatin1Char('_') + host + QLatin1Char('_') + QString::number(port);
}

bool Character::operator==(const Character& other) const
{
    return name == other.name && password == other.password && host == other.host && port == other.port &&
           mudName == other.mudName;
}
