#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include "storage/Scripts.h"

// Moves Lua modules between characters as one ".olvexscripts" file: a zip
// archive holding "metadata.json" and a "scripts" folder with one ".lua" file
// per module. The archive work is done by the system's zip and unzip programs,
// each in a private temporary directory that is gone when the call returns.
//
// Packages come from other people, so an import first lists the archive and
// refuses anything that could reach outside its temporary directory (absolute
// or ".." paths, links), anything it cannot extract safely (encryption, size
// beyond the bounds below), and module names that no module could have.
class LuaPackage final {
public:
    struct Metadata {
        QString version = QStringLiteral("1");
        QString packageVersion;
        QString author;
        QString description;
        QString created;
        QList<LuaModule> modules;
    };

    // Far above any hand-written set of modules, far below what would hurt to unpack.
    static constexpr qint64 kMaxImportBytes = 10 * 1024 * 1024;
    static constexpr int kMaxImportEntries = 1000;
    static constexpr int kToolTimeoutMs = 30000;

    static bool exportPackage(const QString& scriptDir, const QList<LuaModule>& modules,
                              const Metadata& metadata, const QString& outputPath, QString& error);
    // modules receives every module the package names; writtenModules, when
    // given, the names of the module files this import wrote into scriptDir
    // (a file skipped because it exists is not among them).
    static bool importPackage(const QString& packagePath, const QString& scriptDir, bool skipExisting,
                              QList<LuaModule>& modules, QString& error,
                              QStringList* writtenModules = nullptr);
    static Metadata readMetadata(const QString& packagePath, QString& error);

    static QString metadataToJson(const Metadata& metadata);
    static Metadata jsonToMetadata(const QString& json);

    static bool isValidModuleName(const QString& name);

    // The pieces other package formats share, so their archives get the same
    // checks. extractPackage lists the archive, refuses it as described
    // above, and unpacks it into targetDir.
    static bool extractPackage(const QString& packagePath, const QString& targetDir, QString& error);
    // Reads dir/metadata.json and refuses module names no module could have.
    static bool readMetadataFile(const QString& dir, Metadata& metadata, QString& error);
    // zip -r outputPath entries..., run inside folder.
    static bool zipFolder(const QString& folder, const QStringList& entries, const QString& outputPath,
                          QString& error);
};
