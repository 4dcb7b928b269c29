#include "terminal/TerminalLog.h"

void TerminalLog::setLogging(bool enabled, const QString& path)
{
    file.reset();
    if (!enabled || path.isEmpty())
        return;
    file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::Append | QIODevice::Text))
        file.reset();
}

void TerminalLog::write(const QString& line)
{
    if (!file)
        return;
    file->write(line.toUtf8().append('\n'));
    file->flush();
}
