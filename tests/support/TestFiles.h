#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtTest>

// Whole-file reads and writes for tests that check what lands on disk.
inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// Makes the folders on the way; replaces what was there.
inline void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}
