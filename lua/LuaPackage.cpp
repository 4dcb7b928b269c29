#include "lua/LuaPackage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>

#include "lua/ScratchDir.h"
#include "storage/JsonFields.h"

namespace {

const QString kMetadataFile = QStringLiteral("metadata.json");
const QString kScriptsFolder = QStringLiteral("scripts");
const QString kModuleSuffix = QStringLiteral(".lua");

// Runs zip or unzip to completion. Its input is empty, so a question such as
// unzip's "replace file?" is answered at once instead of stalling the client.
bool runTool(const QString& program, const QStringList& arguments, const QString& workingDir, QString& error,
             QByteArray* output = nullptr)
{
    QProcess process;
    process.setWorkingDirectory(workingDir);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments);
    const bool finished = process.waitForFinished(LuaPackage::kToolTimeoutMs);
    if (!finished || process.exitStatus() != QProcess::NormalExit) {
        error = QStringLiteral("%1 command failed: %2").arg(program, process.errorString());
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
        return false;
    }
    if (process.exitCode() != 0) {
        error = QStringLiteral("%1 returned error code %2").arg(program).arg(process.exitCode());
        return false;
    }
    if (output)
        *output = process.readAllStandardOutput();
    return true;
}

// unzip strips leading slashes and ".." itself, but a package that carries
// them was made to escape, so it is refused rather than repaired. Backslashes
// count as separators because unzip turns them into slashes for archives made
// on DOS-like systems.
bool isUnsafePath(const QString& name)
{
    if (name.isEmpty() || name.startsWith(QLatin1Char('/')) || name.startsWith(QLatin1Char('\\')))
        return true;
    static const QRegularExpression separators(QStringLiteral("[/\\\\]"));
    return name.split(separators).contains(QStringLiteral(".."));
}

bool isModuleFileEntry(const QString& name)
{
    const QStringList parts = name.split(QLatin1Char('/'));
    return parts.size() == 2 && parts.first() == kScriptsFolder &&
           parts.last().endsWith(kModuleSuffix, Qt::CaseInsensitive);
}

// Lists the archive with zipinfo's long format (no header, no totals, one
// field for date and time) and checks every entry before anything is written:
//   -rw-r--r--  3.0 unx      123 tx       99 defN 20240501.134510 scripts/a.lua
// The permission string tells links ('l') from files; an upper-case first
// letter in the text/binary field marks an encrypted entry, which would make
// unzip ask for a password.
bool checkPackageListing(const QString& packagePath, const QString& workingDir, QString& error)
{
    QByteArray listing;
    if (!runTool(QStringLiteral("unzip"),
                 {QStringLiteral("-Z"), QStringLiteral("-l"), QStringLiteral("-T"), QStringLiteral("--h"),
                  QStringLiteral("--t"), packagePath},
                 workingDir, error, &listing))
        return false;

    static const QRegularExpression entryLine(QStringLiteral(
        "^(\\S+)\\s+\\S+\\s+\\S+\\s+(\\d+)\\s+(\\S+)\\s+\\d+\\s+\\S+\\s+\\d{8}\\.\\d{6} (.*)$"));
    const QStringList lines = QString::fromUtf8(listing).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (lines.size() > LuaPackage::kMaxImportEntries) {
        error = QStringLiteral("Package is too large to import");
        return false;
    }
    qint64 totalBytes = 0;
    for (const QString& line : lines) {
        const QRegularExpressionMatch entry = entryLine.match(line);
        if (!entry.hasMatch()) {
            error = QStringLiteral("Package contents could not be listed");
            return false;
        }
        const QString mode = entry.captured(1);
        const QString name = entry.captured(4);
        if (isUnsafePath(name)) {
            error = QStringLiteral("Package entry has an unsafe path: %1").arg(name);
            return false;
        }
        if (mode.startsWith(QLatin1Char('l'))) {
            error = QStringLiteral("Package entry is a link: %1").arg(name);
            return false;
        }
        // '?' is what archives written without file-type bits show for plain files.
        if (!mode.startsWith(QLatin1Char('-')) && !mode.startsWith(QLatin1Char('d')) &&
            !mode.startsWith(QLatin1Char('?'))) {
            error = QStringLiteral("Package entry is not a regular file: %1").arg(name);
            return false;
        }
        if (entry.captured(3).at(0).isUpper()) {
            error = QStringLiteral("Package entry is encrypted: %1").arg(name);
            return false;
        }
        if (isModuleFileEntry(name) &&
            !LuaPackage::isValidModuleName(name.section(QLatin1Char('/'), 1).chopped(4))) {
            error = QStringLiteral("Package holds a module file with an invalid name: %1").arg(name);
            return false;
        }
        bool sizeOk = false;
        totalBytes += entry.captured(2).toLongLong(&sizeOk);
        if (!sizeOk || totalBytes > LuaPackage::kMaxImportBytes) {
            error = QStringLiteral("Package is too large to import");
            return false;
        }
    }
    return true;
}

} // namespace

bool LuaPackage::isValidModuleName(const QString& name)
{
    static const QRegularExpression rule(QStringLiteral("^[a-zA-Z_][a-zA-Z0-9_]*$"));
    return rule.match(name).hasMatch();
}

// The listing already refused links; a link here would still never be followed.
bool LuaPackage::readMetadataFile(const QString& dir, Metadata& metadata, QString& error)
{
    const QString path = dir + QLatin1Char('/') + kMetadataFile;
    QFile file(path);
    if (QFileInfo(path).isSymLink() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = QStringLiteral("Failed to read metadata.json from package");
        return false;
    }
    metadata = jsonToMetadata(QString::fromUtf8(file.readAll()));
    // Module names become file names; one that the editor could never have
    // created marks a forged package, so none of it is taken.
    for (const LuaModule& module : std::as_const(metadata.modules)) {
        if (!isValidModuleName(module.name)) {
            error = QStringLiteral("Package names an invalid module: %1").arg(module.name);
            metadata = {};
            return false;
        }
    }
    return true;
}

bool LuaPackage::extractPackage(const QString& packagePath, const QString& targetDir, QString& error)
{
    const QString archive = QFileInfo(packagePath).absoluteFilePath();
    return checkPackageListing(archive, targetDir, error) &&
           runTool(QStringLiteral("unzip"), {QStringLiteral("-q"), archive}, targetDir, error);
}

bool LuaPackage::zipFolder(const QString& folder, const QStringList& entries, const QString& outputPath,
                           QString& error)
{
    // zip runs inside the folder, so a relative output path would land there.
    // An existing archive of that name is added to, not replaced.
    const QString archive = QFileInfo(outputPath).absoluteFilePath();
    if (!runTool(QStringLiteral("zip"), QStringList{QStringLiteral("-r"), archive} + entries, folder, error))
        return false;
    if (!QFile::exists(archive)) {
        error = QStringLiteral("Package file was not created: %1").arg(archive);
        return false;
    }
    return true;
}

bool LuaPackage::exportPackage(const QString& scriptDir, const QList<LuaModule>& modules,
                               const Metadata& metadata, const QString& outputPath, QString& error)
{
    ScratchDir temp(QStringLiteral("olvex_export_"));
    if (!temp.isValid(error))
        return false;

    QFile metadataFile(temp.filePath(kMetadataFile));
    if (!metadataFile.open(QIODevice::WriteOnly | QIODevice::Text)) {
        error = QStringLiteral("Failed to write metadata.json");
        return false;
    }
    metadataFile.write(metadataToJson(metadata).toUtf8());
    metadataFile.close();

    const QString scriptsDir = temp.filePath(kScriptsFolder);
    QDir().mkpath(scriptsDir);
    for (const LuaModule& module : modules) {
        const QString fileName = module.name + kModuleSuffix;
        const QString source = scriptDir + QLatin1Char('/') + fileName;
        if (!QFile::exists(source)) {
            error = QStringLiteral("Module file not found: %1").arg(source);
            return false;
        }
        if (!QFile::copy(source, scriptsDir + QLatin1Char('/') + fileName)) {
            error = QStringLiteral("Failed to copy %1").arg(fileName);
            return false;
        }
    }

    return zipFolder(temp.path(), {kMetadataFile, kScriptsFolder}, outputPath, error);
}

bool LuaPackage::importPackage(const QString& packagePath, const QString& scriptDir, bool skipExisting,
                               QList<LuaModule>& modules, QString& error, QStringList* writtenModules)
{
    if (writtenModules)
        writtenModules->clear();
    ScratchDir temp(QStringLiteral("olvex_import_"));
    if (!temp.isValid(error))
        return false;

    Metadata metadata;
    if (!extractPackage(packagePath, temp.path(), error) || !readMetadataFile(temp.path(), metadata, error))
        return false;
    modules = metadata.modules;

    QDir().mkpath(scriptDir);
    const QDir scriptsDir(temp.filePath(kScriptsFolder));
    const QFileInfoList files = scriptsDir.entryInfoList(
        {QStringLiteral("*.lua")}, QDir::Files | QDir::NoSymLinks | QDir::CaseSensitive, QDir::Unsorted);
    for (const QFileInfo& file : files) {
        if (!file.isFile() || file.isSymLink())
            continue;
        const QString destination = scriptDir + QLatin1Char('/') + file.fileName();
        if (skipExisting && QFileInfo::exists(destination))
            continue;
        if (!QFile::copy(file.filePath(), destination)) {
            error = QStringLiteral("Failed to copy %1").arg(file.fileName());
            return false;
        }
        if (writtenModules)
            writtenModules->append(file.completeBaseName());
    }
    return true;
}

LuaPackage::Metadata LuaPackage::readMetadata(const QString& packagePath, QString& error)
{
    ScratchDir temp(QStringLiteral("olvex_readmeta_"));
    if (!temp.isValid(error))
        return {};

    const QString archive = QFileInfo(packagePath).absoluteFilePath();
    Metadata metadata;
    if (!checkPackageListing(archive, temp.path(), error) ||
        !runTool(QStringLiteral("unzip"), {QStringLiteral("-q"), archive, kMetadataFile}, temp.path(),
                 error) ||
        !readMetadataFile(temp.path(), metadata, error))
        return {};
    return metadata;
}

QString LuaPackage::metadataToJson(const Metadata& metadata)
{
    QJsonArray modules;
    for (const LuaModule& module : metadata.modules)
        modules.append(module.toJson());
    // QJsonObject writes its keys sorted; every reader goes by key, so the
    // order on disk carries no meaning.
    const QJsonObject object{{QStringLiteral("version"), metadata.version},
                             {QStringLiteral("packageVersion"), metadata.packageVersion},
                             {QStringLiteral("author"), metadata.author},
                             {QStringLiteral("description"), metadata.description},
                             {QStringLiteral("created"), metadata.created},
                             {QStringLiteral("modules"), modules}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

LuaPackage::Metadata LuaPackage::jsonToMetadata(const QString& json)
{
    Metadata metadata;
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    if (!document.isObject())
        return metadata;
    using JsonFields::readString;
    const QJsonObject object = document.object();
    metadata.version = readString(object, QStringLiteral("version"), QStringLiteral("1"));
    metadata.packageVersion = readString(object, QStringLiteral("packageVersion"));
    metadata.author = readString(object, QStringLiteral("author"));
    metadata.description = readString(object, QStringLiteral("description"));
    metadata.created = readString(object, QStringLiteral("created"));
    const QJsonArray modules = object.value(QStringLiteral("modules")).toArray();
    for (const QJsonValue& value : modules)
        metadata.modules.append(LuaModule::fromJson(value.toObject()));
    return metadata;
}
