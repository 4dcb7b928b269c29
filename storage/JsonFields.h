#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QStringList>

#include <type_traits>

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

// Elements of another type are skipped; a missing or non-array key is empty.
inline QStringList readStringList(const QJsonObject& object, const QString& key)
{
    QStringList list;
    for (const QJsonValue& element : object.value(key).toArray()) {
        if (element.isString())
            list.append(element.toString());
    }
    return list;
}

inline QList<int> readIntList(const QJsonObject& object, const QString& key)
{
    QList<int> list;
    for (const QJsonValue& element : object.value(key).toArray()) {
        if (element.isDouble())
            list.append(element.toInt());
    }
    return list;
}

// Records describe their fields once, in a static fields(record, visit) that
// calls visit(key, member) for every field; these two turn that into the JSON
// form. A missing or wrong-typed key keeps the member's default from the
// record's declaration, so keys and defaults are each written in one place.
inline void readInto(const QJsonObject& object, const QString& key, QString& field)
{
    field = readString(object, key, field);
}

inline void readInto(const QJsonObject& object, const QString& key, bool& field)
{
    field = readBool(object, key, field);
}

inline void readInto(const QJsonObject& object, const QString& key, int& field)
{
    field = readInt(object, key, field);
}

template <typename Record> QList<Record> readRecords(const QJsonObject& object, const QString& key);
template <typename Record> QJsonArray recordsToJson(const QList<Record>& records);

template <typename Record> void readInto(const QJsonObject& object, const QString& key, QList<Record>& field)
{
    field = readRecords<Record>(object, key);
}

template <typename Field> QJsonValue toJsonValue(const Field& field)
{
    return QJsonValue(field);
}

template <typename Record> QJsonValue toJsonValue(const QList<Record>& records)
{
    return recordsToJson(records);
}

template <typename Record> Record recordFromJson(const QJsonObject& object)
{
    Record record;
    Record::fields(record, [&object](const QString& key, auto& field) { readInto(object, key, field); });
    return record;
}

template <typename Record> QJsonObject recordToJson(const Record& record)
{
    QJsonObject object;
    Record::fields(
        record, [&object](const QString& key, const auto& field) { object.insert(key, toJsonValue(field)); });
    return object;
}

// Equality from the same field list: the i-th field of one record against the
// i-th of the other, so a field added to fields() is compared without a second
// list to keep in step. Records have a handful of fields; the nested visit is
// cheap.
template <typename Record> bool sameFields(const Record& a, const Record& b)
{
    bool same = true;
    int index = 0;
    Record::fields(a, [&](const auto&, const auto& left) {
        int otherIndex = 0;
        Record::fields(b, [&](const auto&, const auto& right) {
            if constexpr (std::is_same_v<decltype(left), decltype(right)>) {
                if (otherIndex == index)
                    same = same && left == right;
            }
            ++otherIndex;
        });
        ++index;
    });
    return same;
}

// Every element goes through the record's reader, in order; an element that is
// not an object reads as a record of defaults, as the reader does for keys.
template <typename Record> QList<Record> readRecords(const QJsonObject& object, const QString& key)
{
    QList<Record> records;
    const QJsonArray array = object.value(key).toArray();
    records.reserve(array.size());
    for (const QJsonValue& element : array)
        records.append(Record::fromJson(element.toObject()));
    return records;
}

template <typename Record> QJsonArray recordsToJson(const QList<Record>& records)
{
    QJsonArray array;
    for (const Record& record : records)
        array.append(record.toJson());
    return array;
}

} // namespace JsonFields
