#include "storage/Storage.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>

#include "storage/JsonFields.h"

using namespace JsonFields;

namespace {

const QString kCharactersKey = QStringLiteral("characters");
const QString kActiveIndexKey = QStringLiteral("active_character_index");
const QString kScriptsPrefix = QStringLiteral("tools");
const QString kChannelsPrefix = QStringLiteral("custom_channels");
const QString kFeaturesPrefix = QStringLiteral("features");
const QString kUiKey = QStringLiteral("ui");

// Longest folder name used as it is, in UTF-8 bytes; file systems allow 255.
// A name that had to be made safe keeps this many characters (at most three
// bytes each) before its hash.
constexpr qsizetype kMaxFolderNameBytes = 200;
constexpr qsizetype kKeptCharacters = 60;

bool isControl(QChar c)
{
    return c.unicode() < 0x20 || c.unicode() == 0x7f || c.category() == QChar::Other_Control;
}

bool unsafeInPath(QChar c)
{
    return c == u'/' || c == u'\\' || isControl(c);
}

// The folder of a character's modules is named after its key. A name, host or
// port is typed by the player (or comes from an imported profile), so a key
// that could leave the scripts folder (separators, control characters) or is
// too long for a file name gets those characters replaced and a hash of the
// whole key appended, which keeps different characters in different folders.
// Every ordinary key is used unchanged.
QString scriptFolderName(const QString& key)
{
    if (!key.isEmpty() && key.toUtf8().size() <= kMaxFolderNameBytes &&
        std::none_of(key.cbegin(), key.cend(), unsafeInPath))
        return key;
    QString safe = key.left(kKeptCharacters);
    std::replace_if(safe.begin(), safe.end(), unsafeInPath, u'_');
    const QByteArray hash = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex();
    return safe + QLatin1Char('-') + QString::fromLatin1(hash.left(12));
}

// The template names the character in a Lua comment: a line break in a name
// must not turn the rest of it into code.
QString commentSafe(QString text)
{
    std::replace_if(text.begin(), text.end(), isControl, u' ');
    return text;
}

} // namespace

Storage* Storage::instance()
{
    // Function-local static: built on first use (thread-safe), destroyed at exit.
    static Storage storage;
    return &storage;
}

Storage::Storage(const QString& dataDirectory)
    : dataDirectory(dataDirectory.isEmpty()
                        ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                              QStringLiteral("/.olvex")
                        : dataDirectory)
{
    load();
}

Storage::~Storage()
{
    save();
}

QString Storage::getStoragePath() const
{
    QDir().mkpath(dataDirectory);
    return dataDirectory + QStringLiteral("/settings.json");
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
    return readString(root, key, defaultValue);
}

void Storage::putString(const QString& key, const QString& value)
{
    root.insert(key, value);
    save();
}

bool Storage::getBoolean(const QString& key, bool defaultValue) const
{
    return readBool(root, key, defaultValue);
}

void Storage::putBoolean(const QString& key, bool value)
{
    root.insert(key, value);
    save();
}

int Storage::getInt(const QString& key, int defaultValue) const
{
    return readInt(root, key, defaultValue);
}

void Storage::putInt(const QString& key, int value)
{
    root.insert(key, value);
    save();
}

QStringList Storage::getStringList(const QString& key) const
{
    return readStringList(root, key);
}

void Storage::putStringList(const QString& key, const QStringList& values)
{
    root.insert(key, QJsonArray::fromStringList(values));
    save();
}

QList<Character> Storage::getCharacters() const
{
    return readRecords<Character>(root, kCharactersKey);
}

void Storage::setCharacters(const QList<Character>& characters)
{
    root.insert(kCharactersKey, recordsToJson(characters));
    save();
}

void Storage::removeCharacter(const Character& character)
{
    QList<Character> characters = getCharacters();
    if (!characters.removeOne(character))
        return;
    root.insert(kCharactersKey, recordsToJson(characters));
    const QString key = character.key();
    const bool shared = std::any_of(characters.cbegin(), characters.cend(),
                                    [&key](const Character& other) { return other.key() == key; });
    if (!shared) {
        for (const QString& prefix : {kScriptsPrefix, kChannelsPrefix, kFeaturesPrefix, kHistoryPrefix})
            root.remove(getCharacterKey(character, prefix));
    }
    save();
}

QJsonValue Storage::uiValue(const QString& key) const
{
    return root.value(kUiKey).toObject().value(key);
}

void Storage::setUiValue(const QString& key, const QJsonValue& value)
{
    QJsonObject ui = root.value(kUiKey).toObject();
    ui.insert(key, value);
    root.insert(kUiKey, ui);
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
    return readRecords<CustomChannel>(root, getCharacterKey(character, kChannelsPrefix));
}

void Storage::setCustomChannels(const Character& character, const QList<CustomChannel>& channels)
{
    root.insert(getCharacterKey(character, kChannelsPrefix), recordsToJson(channels));
    save();
}

QList<int> Storage::getEnabledFeatures(const Character& character) const
{
    return readIntList(root, getCharacterKey(character, kFeaturesPrefix));
}

void Storage::setEnabledFeatures(const Character& character, const QList<int>& features)
{
    QJsonArray array;
    for (int code : features)
        array.append(code);
    root.insert(getCharacterKey(character, kFeaturesPrefix), array);
    save();
}

QString Storage::getCharacterKey(const Character& character, const QString& prefix) const
{
    return characterEntryKey(prefix, character.key());
}

QString Storage::characterEntryKey(const QString& prefix, const QString& characterKey)
{
    // Concatenated rather than filled with arg(), so a "%1" typed into a name stays literal.
    return prefix + QLatin1Char('_') + characterKey;
}

QString Storage::getScriptDir(const Character& character) const
{
    return dataDirectory + QStringLiteral("/scripts/") + scriptFolderName(character.key());
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
                             .arg(commentSafe(character.name), commentSafe(character.host));
    mainModule.write(text.toUtf8());
}
