#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include "storage/Character.h"
#include "storage/CustomChannel.h"
#include "storage/Scripts.h"

// The one store of everything the player configures: a JSON document held in
// memory and written to ".olvex/settings.json" under the generic data location
// after every change. Module folders of each character live beside it.
class Storage final {
public:
    // Prefix of the per-character key of the typed-command history.
    static inline const QString kHistoryPrefix = QStringLiteral("cmd_history");

    // The program's one store, in the generic data location.
    static Storage* instance();

    // A store in `dataDirectory` (the folder that holds settings.json and
    // scripts/), for tests and tools; empty means the generic data location.
    explicit Storage(const QString& dataDirectory = QString());
    ~Storage();

    void load();
    void save();
    QString getStoragePath() const;

    QString getString(const QString& key, const QString& defaultValue = {}) const;
    void putString(const QString& key, const QString& value);
    bool getBoolean(const QString& key, bool defaultValue = false) const;
    void putBoolean(const QString& key, bool value);
    int getInt(const QString& key, int defaultValue = 0) const;
    void putInt(const QString& key, int value);
    QStringList getStringList(const QString& key) const;
    void putStringList(const QString& key, const QStringList& values);

    // Free keys of the user interface (window geometry, splitter sizes, font
    // size), kept apart from the settings of the other parts.
    QJsonValue uiValue(const QString& key) const;
    void setUiValue(const QString& key, const QJsonValue& value);

    QList<Character> getCharacters() const;
    void setCharacters(const QList<Character>& characters);
    // Removes the first equal character from the list, and with it its
    // scripts, channels, features and command history unless another listed
    // character shares its key (and so those entries).
    void removeCharacter(const Character& character);
    int getActiveCharacterIndex() const;
    void setActiveCharacterIndex(int index);

    Scripts getScripts(const Character& character) const;
    void setScripts(const Character& character, const Scripts& scripts);
    QList<CustomChannel> getCustomChannels(const Character& character) const;
    void setCustomChannels(const Character& character, const QList<CustomChannel>& channels);
    QList<int> getEnabledFeatures(const Character& character) const;
    void setEnabledFeatures(const Character& character, const QList<int>& features);

    QString getCharacterKey(const Character& character, const QString& prefix) const;
    // The same key from a character's key (Character::key()).
    static QString characterEntryKey(const QString& prefix, const QString& characterKey);
    QString getScriptDir(const Character& character) const;
    void ensureScriptDir(const Character& character) const;

    Storage(const Storage&) = delete;
    Storage& operator=(const Storage&) = delete;

private:
    void keepUnreadableFile(const QString& path) const;

    QString dataDirectory;
    QJsonObject root;
};
