#include "net/MccpInflater.h"

#include <zlib.h>

MccpInflater::MccpInflater()
    : stream(std::make_unique<z_stream_s>())
{
}

MccpInflater::~MccpInflater()
{
    stop();
}

void MccpInflater::start()
{
    stop();
    *stream = z_stream_s{};
    input.clear();
    consumed = 0;
    trailing.clear();
    errorText.clear();
    outputFull = false;
    if (inflateInit(stream.get()) != Z_OK) {
        errorText = QStringLiteral("out of memory");
        return;
    }
    active = true;
}

void MccpInflater::addInput(const char* data, qsizetype size)
{
    if (!active)
        return;
    // Keep only what zlib has not read yet: the caller feeds no more until
    // hasPendingOutput() turns false, so this stays one socket read in size.
    if (consumed > 0) {
        input.remove(0, consumed);
        consumed = 0;
    }
    input.append(data, size);
}

QByteArray MccpInflater::inflate(qsizetype maxBytes)
{
    QByteArray out;
    if (!active || maxBytes <= 0)
        return out;
    out.resize(maxBytes);
    stream->next_in = reinterpret_cast<Bytef*>(input.data() + consumed);
    stream->avail_in = uInt(input.size() - consumed);
    stream->next_out = reinterpret_cast<Bytef*>(out.data());
    stream->avail_out = uInt(maxBytes);
    const int result = ::inflate(stream.get(), Z_SYNC_FLUSH);
    consumed = input.size() - stream->avail_in;
    out.resize(maxBytes - stream->avail_out);
    outputFull = stream->avail_out == 0;
    if (result == Z_STREAM_END) {
        trailing = input.mid(consumed);
        stop();
    } else if (result != Z_OK && result != Z_BUF_ERROR) {
        errorText = QString::fromLatin1(stream->msg ? stream->msg : "unreadable data");
        stop();
    }
    return out;
}

QByteArray MccpInflater::takeTrailingInput()
{
    return std::exchange(trailing, QByteArray());
}

void MccpInflater::stop()
{
    if (active)
        inflateEnd(stream.get());
    active = false;
    input.clear();
    consumed = 0;
}
