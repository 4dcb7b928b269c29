#pragma once

#include <QByteArray>

// Lines for throughput tests: the mix a busy fight in a crowded room produces
// (room text in 16 and 256 colours, combat with damage numbers, chat, tells,
// emotes), about 100 bytes each with their escape sequences. The same index
// always gives the same line, so a test can check what arrived.
class FloodText final {
public:
    // The line without its line feed.
    static QByteArray line(qint64 index);
};
