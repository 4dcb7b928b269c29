#pragma once

#include <QJsonObject>
#include <QString>

// A user-defined chat channel: a tab name and the expression that picks its lines.
struct CustomChannel final {
    QString name;
    QString pattern;
    bool enabled = true;

    QJsonObject toJson() const;
    static CustomChannel fromJson(const QJsonObject& object);

    bool operator==(const CustomChannel& other) const
    {
        return name == other.name && pattern == other.pattern && enabled == other.enabled;
    }
};
