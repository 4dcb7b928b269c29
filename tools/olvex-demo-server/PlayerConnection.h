#pragma once

#include <QObject>
#include <QPointer>
#include <QRandomGenerator>

#include <optional>

#include "tools/olvex-demo-server/AmbientChatter.h"
#include "tools/olvex-demo-server/ClientTelnet.h"
#include "tools/olvex-demo-server/Combat.h"
#include "tools/olvex-demo-server/CommandInterpreter.h"
#include "tools/olvex-demo-server/MsdpReporter.h"
#include "tools/olvex-demo-server/PlayerState.h"
#include "tools/olvex-demo-server/TelnetInput.h"

class DemoServer;
class FloodWriter;
class QTcpSocket;
class QTimer;

// One connected client: asks for a name, then hands the player's commands to
// its CommandInterpreter, runs fight rounds, regeneration and background
// chatter, and keeps the client's MSDP table up to date. The server deletes it (later, through the event
// loop) once its socket is gone, so every path here may find the socket closed.
class PlayerConnection final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlayerConnection)

public:
    // Takes over the socket as a child object.
    PlayerConnection(QTcpSocket* socket, DemoServer* server);

    bool isPlaying() const { return playing; }
    QString name() const { return state.name; }
    QString roomId() const { return state.roomId; }
    const ClientTelnet& telnetState() const { return telnet; }

    // A line from elsewhere in the game (another player, a broadcast).
    void deliver(const QByteArray& line);
    // The room's occupants changed: the client's room panel needs refreshing.
    void refreshRoom();

signals:
    void closed(PlayerConnection* player);

private:
    // The interpreter is this connection's game half: it reads and changes the
    // character, the fight and the output kept here.
    friend class CommandInterpreter;

    void onReadyRead();
    void onDisconnected();
    void onRegenTick();
    void onCombatRound();
    void onAmbientTick();

    void greet();
    void login(const QString& line);
    // Sends the given number of lines at full speed, then a prompt.
    void flood(const QString& count);

    void endFight();
    void startAmbientTimer();
    // All game text goes out here: after a prompt without a line feed it
    // starts a new line, and it is compressed when the client agreed to that.
    void writeText(const QByteArray& text);
    void writeLine(const QByteArray& line);
    void writeLines(const QList<QByteArray>& lines);
    void sendPrompt();
    void pushMsdp();
    MsdpVariables msdpVariables() const;

    DemoServer* server;
    QTcpSocket* socket;
    QTimer* regenTimer;
    QTimer* combatTimer;
    QTimer* ambientTimer;
    QPointer<FloodWriter> floodWriter;
    TelnetInput input;
    ClientTelnet telnet;
    MsdpReporter msdp;
    AmbientChatter chatter;
    CommandInterpreter commands{*this};
    PlayerState state;
    std::optional<Combat> combat;
    QRandomGenerator random;
    bool playing = false;
    bool open = true;
    // The last thing written was a prompt that ended without a line feed.
    bool afterPrompt = false;
};
