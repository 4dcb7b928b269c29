#include "app/ProfileTransfer.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QWidget>

#include "lua/ProfilePackage.h"
#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"

namespace {

const QString kFilter = QStringLiteral("Olvex profiles (*.olvexprofile);;All files (*)");

} // namespace

ProfileTransfer::ProfileTransfer(QWidget* window)
    : QObject(window)
    , window(window)
{
}

void ProfileTransfer::exportProfile(const Character& character)
{
    QString path = QFileDialog::getSaveFileName(window, QStringLiteral("Export Profile"),
                                                QDir::home().filePath(character.name + kSuffix), kFilter);
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().isEmpty())
        path += kSuffix;

    Storage* storage = Storage::instance();
    QString error;
    if (!ProfilePackage::exportProfile(storage->getScripts(character), storage->getScriptDir(character), path,
                                       error)) {
        QMessageBox::critical(window, QStringLiteral("Export Failed"), error);
        return;
    }
    QMessageBox::information(window, QStringLiteral("Export Profile"),
                             QStringLiteral("Exported to %1").arg(path));
}

void ProfileTransfer::importProfile(const Character& character)
{
    const QString path =
        QFileDialog::getOpenFileName(window, QStringLiteral("Import Profile"), QDir::homePath(), kFilter);
    if (path.isEmpty())
        return;
    ProfilePackage::Profile profile;
    QString error;
    if (!ProfilePackage::readProfile(path, profile, error)) {
        QMessageBox::critical(window, QStringLiteral("Import Failed"), error);
        return;
    }

    Storage* storage = Storage::instance();
    const QString scriptDir = storage->getScriptDir(character);
    QStringList replacedFiles;
    for (auto it = profile.moduleCode.cbegin(); it != profile.moduleCode.cend(); ++it) {
        if (QFileInfo::exists(scriptDir + QLatin1Char('/') + it.key() + QStringLiteral(".lua")))
            replacedFiles.append(it.key() + QStringLiteral(".lua"));
    }
    if (!(storage->getScripts(character) == Scripts()) || !replacedFiles.isEmpty()) {
        QString question = QStringLiteral("Replace the scripts of '%1' with the profile in %2?")
                               .arg(character.name, QFileInfo(path).fileName());
        if (!replacedFiles.isEmpty())
            question +=
                QStringLiteral("\n\nModule files replaced: %1").arg(replacedFiles.join(QStringLiteral(", ")));
        if (QMessageBox::question(window, QStringLiteral("Import Profile"), question,
                                  QMessageBox::Yes | QMessageBox::No, QMessageBox::No) != QMessageBox::Yes)
            return;
    }

    if (!ProfilePackage::installModules(profile, scriptDir, error)) {
        QMessageBox::critical(window, QStringLiteral("Import Failed"), error);
        return;
    }
    // A live session takes the scripts at once (and stores them).
    if (GameSession* session = SessionManager::instance()->getSession(character)) {
        session->updateScripts(profile.scripts);
        // The new module files take effect now, not at the next connect.
        QStringList modules;
        for (const LuaModule& module : std::as_const(profile.scripts.luaModules)) {
            if (module.enabled)
                modules.append(module.name);
        }
        session->getScriptEngine()->reloadAllLuaModules(modules);
    } else
        storage->setScripts(character, profile.scripts);
    QMessageBox::information(window, QStringLiteral("Import Profile"),
                             QStringLiteral("Imported the profile into '%1'").arg(character.name));
}
