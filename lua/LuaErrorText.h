#pragma once

#include <QString>

// Lua errors as a player reads them in the output. Lua names a file by its
// whole path, which under the data directory is long and says little, and
// cuts a long one to its last 56 bytes ("...o_127.0.0.1_4000/demo.lua:3:");
// here a file in the script directory is named by its file name alone.
namespace LuaErrorText {

// The message with every file of scriptDir named by its file name.
QString withShortFileNames(const QString& message, const QString& scriptDir);

// A failed call: "demo.lua:12: onHit: attempt to ..." when the error comes
// from the module that defines the function, "demo.lua: onHit: util.lua:3:
// ..." when it comes from elsewhere, "onHit: ..." when no module is known.
QString forCall(const QString& module, const QString& function, const QString& message,
                const QString& scriptDir);

// A module that failed to load: "demo.lua:3: unexpected symbol near 'x'",
// or "demo.lua: " before a message that names no place in it.
QString forLoad(const QString& module, const QString& message, const QString& scriptDir);

} // namespace LuaErrorText
