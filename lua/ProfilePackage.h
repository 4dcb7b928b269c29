#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include "storage/Scripts.h"

// One character's whole script set as one file: a module package (see
// LuaPackage) that also holds "profile.json", the aliases, triggers, timers,
// variables, quick actions, key bindings and module list. Any module package
// reader can still take the Lua modules out of it.
//
// Reading goes through LuaPackage's checks for untrusted archives and writes
// nothing: the caller decides, after asking, whether to install the result.
class ProfilePackage final {
public:
    struct Profile {
        Scripts scripts;
        // Module name to its code, for the modules whose file the package holds.
        QMap<QString, QByteArray> moduleCode;
    };

    // Replaces outputPath only when the whole package was written.
    static bool exportProfile(const Scripts& scripts, const QString& scriptDir, const QString& outputPath,
                              QString& error);
    static bool readProfile(const QString& packagePath, Profile& profile, QString& error);
    // Writes the module files into scriptDir, replacing files of the same name.
    static bool installModules(const Profile& profile, const QString& scriptDir, QString& error);
};
