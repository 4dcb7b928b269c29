#include "storage/Character.h"

QString Character::key() const
{
    return name + QLatin1Char('_') + host + QLatin1Char('_') + QString::number(port);
}

bool Character::operator==(const Character& other) const
{
    return JsonFields::sameFields(*this, other);
}
