#include "net/Utf8Decoder.h"

void Utf8Decoder::decode(const char* data, qsizetype size, QString& out)
{
    qsizetype i = 0;
    while (i < size) {
        if (remaining > 0) {
            continueSequence(uchar(data[i++]), out);
            continue;
        }
        // Game text is mostly ASCII: copy whole runs of it at once.
        qsizetype run = i;
        while (run < size && uchar(data[run]) < 0x80)
            ++run;
        if (run > i) {
            out.append(QLatin1StringView(data + i, run - i));
            i = run;
            continue;
        }
        startSequence(uchar(data[i++]), out);
    }
}

void Utf8Decoder::flush(QString& out)
{
    for (int k = 0; k < pendingSize; ++k)
        out.append(QChar(pending[k]));
    pendingSize = 0;
    remaining = 0;
}

void Utf8Decoder::startSequence(uchar lead, QString& out)
{
    lowest = 0x80;
    highest = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        remaining = 1;
        codePoint = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        remaining = 2;
        codePoint = lead & 0x0F;
        if (lead == 0xE0)
            lowest = 0xA0; // overlong below
        else if (lead == 0xED)
            highest = 0x9F; // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        remaining = 3;
        codePoint = lead & 0x07;
        if (lead == 0xF0)
            lowest = 0x90; // overlong below
        else if (lead == 0xF4)
            highest = 0x8F; // past U+10FFFF
    } else {
        out.append(QChar(lead)); // a stray continuation byte, C0, C1, F5..FF
        return;
    }
    pending[0] = lead;
    pendingSize = 1;
}

void Utf8Decoder::continueSequence(uchar byte, QString& out)
{
    if (byte < lowest || byte > highest) {
        // Not UTF-8 after all: what was kept is Latin-1, and this byte starts
        // over (it may begin a character of its own).
        flush(out);
        if (byte < 0x80)
            out.append(QChar(byte));
        else
            startSequence(byte, out);
        return;
    }
    pending[pendingSize++] = byte;
    codePoint = (codePoint << 6) | (byte & 0x3F);
    lowest = 0x80;
    highest = 0xBF;
    if (--remaining > 0)
        return;
    pendingSize = 0;
    if (QChar::requiresSurrogates(codePoint)) {
        out.append(QChar(QChar::highSurrogate(codePoint)));
        out.append(QChar(QChar::lowSurrogate(codePoint)));
    } else {
        out.append(QChar(char16_t(codePoint)));
    }
}
