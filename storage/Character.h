#pragma once

#include <QJsonObject>
#include <QMetaType>
#include <QString>

// One saved character profile. The password is kept as plain text in the
// settings file; the key joins name, host and port and identifies the session.
struct Character final {
    QString name;
    QString password;
    QString host;
    int port = 0;
    QString mudName;

    QString key() const;

    QJsonObject toJson() const;
    static Character fromJson(const QJsonObject& object);

    bool operator==(const Character& other) const;
    bool operator!=(const Character& other) const { return !(*this == other); }
};

Q_DECLARE_METATYPE(Character)
