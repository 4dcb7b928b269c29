#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

// Readers for one key of a JSON object: a key that is missing or holds another
// JSON type yields the caller's default, so a hand-edited or older settings
// file never produces half-read records.
namespace JsonFields {

inline QString readString(const QJsonObject& object, const QString& key, const QString& fallback = {})
{
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString() : fallback;
}

inline bool readBool(const QJsonObject& object, const QString& key, bool fallback)
{
    const QJsonValue value = object.value(key);
    return value.isBool() ? value.toBool() : fallback;
}

inline int readInt(const QJsonObject& object, const QString& key, int fallback)
{
    const QJsonValue value = object.value(key);
    return value.isDouble() ? value.toInt(fallback) : fallback;
}

} // namespace JsonFields
