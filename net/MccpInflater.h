#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

struct z_stream_s;

// Inflates one MCCP2 stream (the server's output compressed with zlib from
// IAC SB 86 IAC SE on). Output is handed out in pieces of bounded size: a
// few kilobytes of compressed input can inflate to gigabytes, and the caller
// decides how much it takes per turn of the event loop.
class MccpInflater final {
public:
    MccpInflater();
    ~MccpInflater();
    MccpInflater(const MccpInflater&) = delete;
    MccpInflater& operator=(const MccpInflater&) = delete;

    // Starts a new stream; compressed bytes follow through addInput.
    void start();
    bool isActive() const { return active; }
    void addInput(const char* data, qsizetype size);

    // Inflates at most maxBytes. When the stream ends, the bytes after it are
    // plain again: takeTrailingInput hands them back and the inflater stops.
    // On corrupt input it stops and errorString says why.
    QByteArray inflate(qsizetype maxBytes);
    // More output may come without new input.
    bool hasPendingOutput() const { return active && (consumed < input.size() || outputFull); }
    bool hasFailed() const { return !errorText.isEmpty(); }
    QString errorString() const { return errorText; }
    QByteArray takeTrailingInput();
    void stop();

private:
    std::unique_ptr<z_stream_s> stream;
    QByteArray input;
    qsizetype consumed = 0;
    QByteArray trailing;
    QString errorText;
    bool active = false;
    // The last call filled its whole output allowance: zlib may hold more.
    bool outputFull = false;
};
