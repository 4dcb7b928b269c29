#include "tools/olvex-demo-server/FloodWriter.h"

#include <QTcpSocket>

#include "tools/olvex-demo-server/FloodText.h"

FloodWriter::FloodWriter(QTcpSocket* socket, qint64 lineCount, QByteArray trailer, QObject* parent)
    : QObject(parent)
    , socket(socket)
    , lineCount(lineCount)
    , trailer(std::move(trailer))
{
    connect(socket, &QTcpSocket::bytesWritten, this, &FloodWriter::onBytesWritten);
}

void FloodWriter::start()
{
    fill();
}

void FloodWriter::onBytesWritten()
{
    fill();
}

void FloodWriter::fill()
{
    while (!done && socket && socket->state() == QAbstractSocket::ConnectedState &&
           socket->bytesToWrite() < kHighWater) {
        QByteArray chunk;
        chunk.reserve(kChunkBytes + 256);
        while (nextLine < lineCount && chunk.size() < kChunkBytes) {
            chunk += FloodText::line(nextLine++);
            chunk += '\n';
        }
        if (nextLine == lineCount) {
            chunk += trailer;
            done = true;
        }
        queued += chunk.size();
        // A failing write can drop the link at once; the loop guard then stops
        // and the socket's owner cleans up through the event loop.
        socket->write(encoder ? encoder(chunk) : chunk);
        if (done) {
            if (socket)
                disconnect(socket, nullptr, this, nullptr);
            emit finished();
        }
    }
}
