#pragma once

#include <QString>
#include <QtGlobal>

// Decodes a UTF-8 byte stream that may be split anywhere, even inside a
// character. A byte sequence that is not valid UTF-8 is read as Latin-1, one
// character per byte, so text from older servers that send ISO-8859-1 still
// shows its accents instead of replacement marks.
class Utf8Decoder final {
public:
    // Appends the text of `size` bytes to `out`. An incomplete character at
    // the end is kept and completed by the next call.
    void decode(const char* data, qsizetype size, QString& out);
    // Hands out a kept incomplete character as Latin-1 and starts afresh.
    void flush(QString& out);
    bool hasPending() const { return pendingSize > 0; }

private:
    void startSequence(uchar lead, QString& out);
    void continueSequence(uchar byte, QString& out);

    uchar pending[4] = {};
    int pendingSize = 0;
    int remaining = 0; // continuation bytes still expected
    char32_t codePoint = 0;
    // Allowed range of the next continuation byte: narrower than 80..BF right
    // after some lead bytes, which rules out overlong forms and surrogates.
    uchar lowest = 0x80;
    uchar highest = 0xBF;
};
