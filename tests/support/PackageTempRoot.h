#pragma once

#include <QDir>
#include <QTemporaryDir>

#include "support/TestFiles.h"

// The package tests run the real zip and unzip. This directory becomes TMPDIR,
// so every temporary directory of the package code lands in it: a leftover is
// seen, and an entry that escapes its folder would be found here too.
class PackageTempRoot final {
public:
    PackageTempRoot()
    {
        if (dir.isValid())
            qputenv("TMPDIR", dir.path().toLocal8Bit());
    }
    bool isValid() const { return dir.isValid(); }
    QString path() const { return dir.path(); }
    QString filePath(const QString& name) const { return dir.filePath(name); }
    // The package code's own temporary directories still present.
    QStringList leftovers() const { return QDir(dir.path()).entryList({"olvex_*"}, QDir::AllEntries); }

private:
    QTemporaryDir dir;
};
