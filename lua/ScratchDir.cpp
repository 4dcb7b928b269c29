#include "lua/ScratchDir.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>

ScratchDir::ScratchDir(const QString& prefix)
    : dir(QDir::tempPath() + QLatin1Char('/') + prefix +
          QString::number(QDateTime::currentMSecsSinceEpoch()) + QStringLiteral("_XXXXXX"))
{
    dir.setAutoRemove(false);
}

ScratchDir::~ScratchDir()
{
    if (!dir.isValid())
        return;
    // unzip restores the folder modes stored in the archive; a read-only
    // folder would otherwise keep its files from being removed.
    QDirIterator it(dir.path(), QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!it.fileInfo().isSymLink())
            QFile::setPermissions(path, QFile::permissions(path) | QFile::ReadOwner | QFile::WriteOwner |
                                            QFile::ExeOwner);
    }
    dir.remove();
}

bool ScratchDir::isValid(QString& error) const
{
    if (!dir.isValid())
        error = QStringLiteral("Failed to create temporary directory: %1").arg(dir.errorString());
    return dir.isValid();
}
