#pragma once

#include <QFile>
#include <QString>

#include <memory>

// The terminal's log file: raw text as shown, escape sequences kept, one
// line per call. Appended to, never truncated, and flushed at every line so
// the log survives a crash of the client.
class TerminalLog final {
public:
    // On with a path that cannot be opened for appending stays off.
    void setLogging(bool enabled, const QString& path);
    bool isLogging() const { return file != nullptr; }
    void write(const QString& line);

private:
    std::unique_ptr<QFile> file;
};
