#pragma once

#include <QDir>
#include <QProcess>
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

// A program's output, or "<failed>" when it does not end well.
inline QByteArray runProgram(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool ok = process.waitForFinished(30000) && process.exitCode() == 0;
    return ok ? process.readAllStandardOutput() : "<failed>";
}

// A new archive made by python's zipfile; entries is python code that fills z.
inline bool writeZip(const QString& archive, const QString& entries)
{
    QFile::remove(archive);
    const QString script =
        "import sys, zipfile\nz = zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED)\n";
    return runProgram("python3", {"-c", script + entries + "\nz.close()\n", archive}).isEmpty();
}
