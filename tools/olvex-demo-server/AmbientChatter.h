#pragma once

#include <QByteArray>

class QRandomGenerator;

// The background life of the game: chat, tells, emotes, quest news and system
// notices from players who are not really there. Each call gives the next
// kind in a fixed rotation, so a player sees every channel within a minute or
// so; the text within a kind is picked at random.
class AmbientChatter final {
public:
    QByteArray next(QRandomGenerator& random);

    // How many kinds the rotation holds.
    static int kindCount();

private:
    int nextKind = 0;
};
