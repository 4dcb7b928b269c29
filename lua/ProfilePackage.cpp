#include "lua/ProfilePackage.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include "lua/LuaPackage.h"
#include "lua/ScratchDir.h"

namespace {

const QString kProfileFile = QStringLiteral("profile.json");
const QString kMetadataFile = QStringLiteral("metadata.json");
const QString kScriptsFolder = QStringLiteral("scripts");

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

// Module names become file names; a stored name that no module could have
// (a hand-edited settings file, a forged package) is refused, never used.
bool checkModuleNames(const Scripts& scripts, QString& error)
{
    for (const LuaModule& module : scripts.luaModules) {
        if (!LuaPackage::isValidModuleName(module.name)) {
            error = QStringLiteral("Package names an invalid module: %1").arg(module.name);
            return false;
        }
    }
    return true;
}

bool writePackageFolder(const Scripts& scripts, const QString& scriptDir, const ScratchDir& temp,
                        QString& error)
{
    LuaPackage::Metadata metadata;
    metadata.packageVersion = QStringLiteral("1.0");
    metadata.author = QStringLiteral("Olvex User");
    metadata.description = QStringLiteral("Exported profile");
    metadata.created = QDateTime::currentDateTime().toString(Qt::ISODate);
    metadata.modules = scripts.luaModules;
    if (!writeFile(temp.filePath(kMetadataFile), LuaPackage::metadataToJson(metadata).toUtf8()) ||
        !writeFile(temp.filePath(kProfileFile),
                   QJsonDocument(scripts.toJson()).toJson(QJsonDocument::Indented))) {
        error = QStringLiteral("Failed to write the profile");
        return false;
    }
    QDir().mkpath(temp.filePath(kScriptsFolder));
    for (const LuaModule& module : scripts.luaModules) {
        const QString fileName = module.name + QStringLiteral(".lua");
        const QString source = scriptDir + QLatin1Char('/') + fileName;
        if (!QFile::exists(source)) {
            error = QStringLiteral("Module file not found: %1").arg(source);
            return false;
        }
        if (!QFile::copy(source, temp.filePath(kScriptsFolder + QLatin1Char('/') + fileName))) {
            error = QStringLiteral("Failed to copy %1").arg(fileName);
            return false;
        }
    }
    return true;
}

} // namespace

bool ProfilePackage::exportProfile(const Scripts& scripts, const QString& scriptDir,
                                   const QString& outputPath, QString& error)
{
    ScratchDir temp(QStringLiteral("olvex_profile_export_"));
    if (!temp.isValid(error) || !checkModuleNames(scripts, error) ||
        !writePackageFolder(scripts, scriptDir, temp, error))
        return false;

    // zip adds to an existing archive, and a failed export must not cost the
    // player the file they chose to replace: build aside, then swap it in.
    const QString built = temp.filePath(QStringLiteral("profile.zip"));
    if (!LuaPackage::zipFolder(temp.path(), {kMetadataFile, kProfileFile, kScriptsFolder}, built, error))
        return false;
    QFile archive(built);
    if (!archive.open(QIODevice::ReadOnly) ||
        !writeFile(QFileInfo(outputPath).absoluteFilePath(), archive.readAll())) {
        error = QStringLiteral("Failed to write %1").arg(outputPath);
        return false;
    }
    return true;
}

bool ProfilePackage::readProfile(const QString& packagePath, Profile& profile, QString& error)
{
    ScratchDir temp(QStringLiteral("olvex_profile_import_"));
    LuaPackage::Metadata metadata;
    if (!temp.isValid(error) || !LuaPackage::extractPackage(packagePath, temp.path(), error) ||
        !LuaPackage::readMetadataFile(temp.path(), metadata, error))
        return false;

    const QString profilePath = temp.filePath(kProfileFile);
    QFile file(profilePath);
    const QJsonDocument document = QFileInfo(profilePath).isSymLink() || !file.open(QIODevice::ReadOnly)
                                       ? QJsonDocument()
                                       : QJsonDocument::fromJson(file.readAll());
    if (!document.isObject()) {
        error = QStringLiteral("Failed to read profile.json from package");
        return false;
    }
    Profile read;
    read.scripts = Scripts::fromJson(document.object());
    if (!checkModuleNames(read.scripts, error))
        return false;
    for (const LuaModule& module : std::as_const(read.scripts.luaModules)) {
        const QFileInfo source(temp.filePath(kScriptsFolder + QLatin1Char('/') + module.name + ".lua"));
        QFile code(source.filePath());
        if (source.isFile() && !source.isSymLink() && code.open(QIODevice::ReadOnly))
            read.moduleCode.insert(module.name, code.readAll());
    }
    profile = read;
    return true;
}

bool ProfilePackage::installModules(const Profile& profile, const QString& scriptDir, QString& error)
{
    QDir().mkpath(scriptDir);
    for (auto it = profile.moduleCode.cbegin(); it != profile.moduleCode.cend(); ++it) {
        // readProfile only fills in checked names; a hand-made Profile gets the same check.
        if (!LuaPackage::isValidModuleName(it.key()) ||
            !writeFile(scriptDir + QLatin1Char('/') + it.key() + QStringLiteral(".lua"), it.value())) {
            error = QStringLiteral("Failed to write %1.lua").arg(it.key());
            return false;
        }
    }
    return true;
}
