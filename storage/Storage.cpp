#include "storage/Storage.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

const QString kCharactersKey = QStringLiteral("characters");
const QString kActiveIndexKey = QStringLiteral("active_character_index");
const QString kScriptsPrefix = QStringLiteral("tools");
const QString kChannelsPrefix = QStringLiteral("custom_channels");
const QString kFeaturesPrefix = QStringLiteral("features");

} // namespace

Storage* Storage::instance()
{
    // Function-local static: built on first use (thread-safe), destroyed at exit.
    static Storage storage;
    return &storage;
}

Storage::Storage()
{
    load();
}

Storage::~Storage()
{
    save();
}

QString Storage::dataRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/.olvex");
}

QString Storage::getStoragePath() const
{
    const QString dir = dataRoot();
    QDir().mkpath(dir);
    return dir + QStringLiteral("/settings.json");
}

void Storage::load()
{
    root = QJsonObject();
    const QString path = getStoragePath();
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly))
        return;
    const QByteArray bytes = file.readAll();
    file.close();

    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (document.isObject()) {
        root = document.object();
        return;
    }
    // Start empty, but never let the next save destroy what the player had.
    if (!bytes.isEmpty())
        keepUnreadableFile(path);
}

void Storage::keepUnreadableFile(const QString& path) const
{
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"));
    const QString backup = path + QStringLiteral(".bad-") + stamp;
    if (QFile::rename(path, backup))
        qWarning("settings.json could not be read; kept it as %s", qPrintable(backup));
    else
        qWarning("settings.json could not be read and could not be kept aside as %s", qPrintable(backup));
}

void Storage::save()
{
    // QSaveFile writes a temporary file and renames it over the old one only
    // when everything was written, so a crash or a full disk mid-write leaves
    // the previous settings intact.
    QSaveFile file(getStoragePath());
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning("Could not save settings to %s: %s", qPrintable(file.fileName()),
                 qPrintable(file.errorString()));
        return;
    }
    // A short write (disk full, quota) is not always reported by commit(), so
    // the written size is checked before the new file may replace the old one.
    const QByteArray bytes = QJsonDocument(root).toJson(QJsonDocument::Indented);
    const bool written =
        file.write(bytes) == bytes.size() && file.flush() && file.error() == QFileDevice::NoError;
    if (!written)
        file.cancelWriting();
    if (!written || !file.commit())
        qWarning("Could not save settings to %s: %s", qPrintable(file.fileName()),
                 qPrintable(file.errorString()));
}

QString Storage::getString(const QString& key, const QString& defaultValue) const
{
    const QJsonValue value = root.value(key);
    return value.isString() ? value.toString() : defaultValue;
}

void Storage::putString(const QString& key, const QString& value)
{
    root.insert(key, value);
    save();
}

bool Storage::getBoolean(const QString& key, bool defaultValue) const
{
    const QJsonValue value = root.value(key);
    return value.isBool() ? value.toBool() : defaultValue;
}

void Storage::putBoolean(const QString& key, bool value)
{
    root.insert(key, value);
    save();
}

int Storage::getInt(const QString& key, int defaultValue) const
{
    const QJsonValue value = root.value(key);
    return value.isDouble() ? value.toInt(defaultValue) : defaultValue;
}

void Storage::putInt(const QString& key, int value)
{
    root.insert(key, value);
    save();
}

QStringList Storage::getStringList(const QString& key) const
{
    QStringList list;
    const QJsonValue value = root.value(key);
    if (!value.isArray())
        return list;
    for (const QJsonValue& element : value.toArray()) {
        if (element.isString())
            list.append(element.toString());
    }
    return list;
}

void Storage::putStringList(const QString& key, const QStringList& values)
{
    root.insert(key, QJsonArray::fromStringList(values));
    save();
}

QList<Character> Storage::getCharacters() const
{
    QList<Character> characters;
    const QJsonValue value = root.value(kCharactersKey);
    if (!value.isArray())
        return characters;
    for (const QJsonValue& element : value.toArray())
        characters.append(Character::fromJson(element.toObject()));
    return characters;
}

void Storage::setCharacters(const QList<Character>& characters)
{
    QJsonArray array;
    for (const Character& c : characters)
        array.append(c.toJson());
    root.insert(kCharactersKey, array);
    save();
}

int Storage::getActiveCharacterIndex() const
{
    return getInt(kActiveIndexKey, 0);
}

void Storage::setActiveCharacterIndex(int index)
{
    putInt(kActiveIndexKey, index);
}

Scripts Storage::getScripts(const Character& character) const
{
    return Scripts::fromJson(root.value(getCharacterKey(character, kScriptsPrefix)).toObject());
}

void Storage::setScripts(const Character& character, const Scripts& scripts)
{
    root.insert(getCharacterKey(character, kScriptsPrefix), scripts.toJson());
    save();
}

QList<CustomChannel> Storage::getCustomChannels(const Character& character) const
{
    QList<CustomChannel> channels;
    const QJsonValue value = root.value(getCharacterKey(character, kChannelsPrefix));
    if (!value.isArray())
        return channels;
    for (const QJsonValue& element : value.toArray())
        channels.append(CustomChannel::fromJson(element.toObject()));
    return channels;
}

void Storage::setCustomChannels(const Character& character, const QList<CustomChannel>& channels)
{
    QJsonArray array;
    for (const CustomChannel& c : channels)
        array.append(c.toJson());
    root.insert(getCharacterKey(character, kChannelsPrefix), array);
    save();
}

QList<int> Storage::getEnabledFeatures(const Character& character) const
{
    QList<int> features;
    const QJsonValue value = root.value(getCharacterKey(character, kFeaturesPrefix));
    if (!value.isArray())
        return features;
    for (const QJsonValue& element : value.toArray()) {
        if (element.isDouble())
            features.append(element.toInt());
    }
    return features;
}

void Storage::setEnabledFeatures(const Character& character, const QList<int>& features)
{
    QJsonArray array;
    for (int f : features)
        array.append(f);
    root.insert(getCharacterKey(character, kFeaturesPrefix), array);
    save();
}

QString Storage::getCharacterKey(const Character& character, const QString& prefix) const
{
    // Concatenated rather than filled with arg(), so a "%1" typed into a name stays literal.
    return prefix + QLatin1Char('_') + character.key();
}

QString Storage::getScriptDir(const Character& character) const
{
    return dataRoot() + QStringLiteral("/scripts/") + character.key();
}

void Storage::ensureScriptDir(const Character& character) const
{
    const QString dir = getScriptDir(character);
    QDir().mkpath(dir);
    QFile mainModule(dir + QStringLiteral("/main.lua"));
    if (mainModule.exists() || !mainModule.open(QIODevice::WriteOnly | QIODevice::Text))
        return;
    const QString text = QStringLiteral("-- Olvex Lua Script Module\n"
                                        "-- Main module for %1 on %2\n"
                                        "\n"
                                        "-- Example function:\n"
                                        "-- function myFunction(arg)\n"
                                        "--   send(\"say \" .. arg)\n"
                                        "-- end\n")
                             .arg(character.name, character.host);
    mainModule.write(text.toUtf8());
}
