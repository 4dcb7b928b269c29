#pragma once

#include <QString>
#include <QTemporaryDir>

// A private working directory under the system temporary directory, gone when
// the object is. The name keeps the operation's prefix and the time for
// whoever looks at /tmp, plus a random part so two operations in the same
// millisecond never share one.
class ScratchDir final {
public:
    explicit ScratchDir(const QString& prefix);
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    // False, with the reason in error, when the directory could not be made.
    bool isValid(QString& error) const;
    QString path() const { return dir.path(); }
    QString filePath(const QString& name) const { return dir.filePath(name); }

private:
    QTemporaryDir dir;
};
