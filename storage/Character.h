#pragma once

#include <QJsonObject>
#include <QMetaType>
#include <QString>

#include "storage/JsonFields.h"

// One saved character profile. The password is kept as plain text in the
// settings file; the key joins name, host and port and identifies the session.
struct Character final {
    QString name;
    QString password;
    QString host;
    int port = 0;
    QString mudName;

    QString key() const;

    // The JSON key of every field; defaults are the initialisers above.
    template <typename Self, typename Visit> static void fields(Self& r, Visit&& visit)
    {
        visit("name", r.name);
        visit("password", r.password);
        visit("host", r.host);
        visit("port", r.port);
        visit("mudName", r.mudName);
    }
    QJsonObject toJson() const { return JsonFields::recordToJson(*this); }
    static Character fromJson(const QJsonObject& object)
    {
        return JsonFields::recordFromJson<Character>(object);
    }

    bool operator==(const Character& other) const;
    bool operator!=(const Character& other) const { return !(*this == other); }
};

Q_DECLARE_METATYPE(Character)
