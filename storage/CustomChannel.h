#pragma once

#include <QJsonObject>
#include <QString>

#include "storage/JsonFields.h"

// A user-defined chat channel: a tab name and the expression that picks its lines.
struct CustomChannel final {
    QString name;
    QString pattern;
    bool enabled = true;

    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("pattern", r.pattern);
        visit("enabled", r.enabled);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static CustomChannel fromJson(const QJsonObject& object)
    {
        return JsonFields::recordFromJson<CustomChannel>(object);
    }

    bool operator==(const CustomChannel& other) const { return JsonFields::sameFields(*this, other); }
};
