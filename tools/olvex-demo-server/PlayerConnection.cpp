#include "tools/olvex-demo-server/PlayerConnection.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>

#include "tools/olvex-demo-server/Ansi.h"
#include "tools/olvex-demo-server/DemoServer.h"
#include "tools/olvex-demo-server/FloodWriter.h"

namespace {

constexpr int kMaxNameLength = 16;
constexpr qint64 kMaxFloodLines = 1000000;
constexpr qint64 kDefaultFloodLines = 100;

QByteArray utf8(const QString& text)
{
    return text.toUtf8();
}

// The first word of what was typed, letters, digits and "_" only, capitalised:
// names end up in the occupants list, which the client splits at blanks.
QString playerNameFrom(const QString& line)
{
    static const QRegularExpression notNameChar(QStringLiteral("[^A-Za-z0-9_]"));
    QString name = line.trimmed().section(QLatin1Char(' '), 0, 0);
    name.remove(notNameChar);
    name.truncate(kMaxNameLength);
    if (!name.isEmpty())
        name[0] = name[0].toUpper();
    return name;
}

QByteArray banner()
{
    using namespace Ansi;
    QByteArray out;
    const char* const art[] = {
        "   ___  _                  ", "  / _ \\| |_   _______  __ ",     " | | | | \\ \\ / / _ \\ \\/ / ",
        " | |_| | |\\ V /  __/>  <  ", "  \\___/|_| \\_/ \\___/_/\\_\\ ",
    };
    int row = 0;
    for (const char* line : art) {
        out += QByteArray(kBold) + rgb(255, 107 + row * 10, row * 8) + line + kReset + '\n';
        ++row;
    }
    out += QByteArray(kCyan) + "   Welcome to the Olvex demo realm: a tiny world of ki and fists." + kReset +
           '\n';
    out += QByteArray(kBrightBlack) + "   Every name is free here; nothing is saved." + kReset + '\n';
    return out;
}

} // namespace

PlayerConnection::PlayerConnection(QTcpSocket* socket, DemoServer* server)
    : QObject(server)
    , server(server)
    , socket(socket)
    , regenTimer(new QTimer(this))
    , combatTimer(new QTimer(this))
    , ambientTimer(new QTimer(this))
    , random(QRandomGenerator::global()->generate())
{
    socket->setParent(this);
    regenTimer->setInterval(server->timing().regenMs);
    combatTimer->setInterval(server->timing().roundMs);
    ambientTimer->setSingleShot(true);
    connect(socket, &QTcpSocket::readyRead, this, &PlayerConnection::onReadyRead);
    connect(socket, &QTcpSocket::disconnected, this, &PlayerConnection::onDisconnected);
    connect(regenTimer, &QTimer::timeout, this, &PlayerConnection::onRegenTick);
    connect(combatTimer, &QTimer::timeout, this, &PlayerConnection::onCombatRound);
    connect(ambientTimer, &QTimer::timeout, this, &PlayerConnection::onAmbientTick);
    input.onNegotiation = [this](int verb, int option) {
        this->socket->write(telnet.receiveNegotiation(verb, option));
    };
    input.onSubnegotiation = [this](int option, const QByteArray& payload) {
        this->socket->write(telnet.receiveSubnegotiation(option, payload));
    };

    if (socket->state() != QAbstractSocket::ConnectedState) {
        // Gone before we got to it: report the close from the event loop, as
        // the server is still busy setting this connection up.
        QMetaObject::invokeMethod(this, &PlayerConnection::onDisconnected, Qt::QueuedConnection);
        return;
    }
    greet();
}

void PlayerConnection::greet()
{
    // A client that ignores negotiation shows the option bytes of our offers
    // as characters; the greeting draws them black on black.
    socket->write(ClientTelnet::greeting());
    socket->write(banner());
    writeLine(QByteArray(Ansi::kBoldYellow) + "By what name do you wish to be known?" + Ansi::kReset);
}

void PlayerConnection::deliver(const QByteArray& line)
{
    writeLine(line);
}

void PlayerConnection::refreshRoom()
{
    pushMsdp();
}

void PlayerConnection::onReadyRead()
{
    const QStringList lines = input.feed(socket->readAll());
    for (const QString& line : lines) {
        if (!open)
            return;
        if (playing)
            commands.runCommand(line);
        else
            login(line);
    }
}

void PlayerConnection::onDisconnected()
{
    if (!open)
        return;
    open = false;
    regenTimer->stop();
    combatTimer->stop();
    ambientTimer->stop();
    emit closed(this);
}

void PlayerConnection::login(const QString& line)
{
    const QString name = playerNameFrom(line);
    if (name.isEmpty()) {
        writeLine("Please choose a name of letters and digits:");
        return;
    }
    if (server->findPlayer(name)) {
        writeLine("Someone called " + utf8(name) + " is already here. Try another name:");
        return;
    }
    state.name = name;
    state.roomId = server->world().startRoomId();
    playing = true;
    writeLine(QByteArray(Ansi::kBoldGreen) + "Welcome, " + utf8(name) +
              "! Type 'help' for a list of commands." + Ansi::kReset);
    server->broadcast(QByteArray(Ansi::kBrightBlack) + "Connection from " + utf8(name) +
                          ": a new fighter enters the realm." + Ansi::kReset,
                      this);
    commands.look({});
    server->roomOccupantsChanged(state.roomId);
    pushMsdp();
    sendPrompt();
    regenTimer->start();
    startAmbientTimer();
}

void PlayerConnection::flood(const QString& count)
{
    bool ok = false;
    qint64 lines = count.isEmpty() ? kDefaultFloodLines : count.toLongLong(&ok);
    if (!count.isEmpty() && (!ok || lines < 1 || lines > kMaxFloodLines)) {
        writeLine("Usage: flood <lines>, 1 to " + QByteArray::number(kMaxFloodLines) + '.');
        sendPrompt();
        return;
    }
    if (floodWriter) {
        writeLine("A flood is already running.");
        sendPrompt();
        return;
    }
    if (std::exchange(afterPrompt, false))
        socket->write(telnet.encode("\n"));
    floodWriter = new FloodWriter(socket, lines, {}, this);
    if (telnet.isCompressing())
        floodWriter->setEncoder([this](const QByteArray& chunk) { return telnet.encode(chunk); });
    connect(floodWriter, &FloodWriter::finished, this, [this] {
        floodWriter->deleteLater();
        sendPrompt();
    });
    floodWriter->start();
}

void PlayerConnection::onRegenTick()
{
    const QList<QByteArray> lines = state.regenerate();
    if (!lines.isEmpty()) {
        writeLines(lines);
        sendPrompt();
    }
    pushMsdp();
}

void PlayerConnection::onCombatRound()
{
    if (!combat) {
        combatTimer->stop();
        return;
    }
    const Combat::Round round = combat->playRound(state, random);
    writeLines(round.lines);
    if (round.outcome == Combat::Outcome::Won)
        writeLines(state.gainExperience(combat->experienceReward()));
    if (round.outcome != Combat::Outcome::Ongoing)
        endFight();
    pushMsdp();
    sendPrompt();
}

void PlayerConnection::endFight()
{
    combat.reset();
    combatTimer->stop();
}

void PlayerConnection::startAmbientTimer()
{
    const auto& timing = server->timing();
    if (timing.ambientMaxMs <= 0)
        return;
    const int spread = std::max(0, timing.ambientMaxMs - timing.ambientMinMs);
    ambientTimer->start(timing.ambientMinMs + int(random.bounded(spread + 1)));
}

void PlayerConnection::onAmbientTick()
{
    writeLine(chatter.next(random));
    startAmbientTimer();
}

void PlayerConnection::writeText(const QByteArray& text)
{
    if (!open || socket->state() != QAbstractSocket::ConnectedState)
        return;
    socket->write(telnet.encode(std::exchange(afterPrompt, false) ? '\n' + text : text));
}

void PlayerConnection::writeLine(const QByteArray& line)
{
    writeText(line + '\n');
}

void PlayerConnection::writeLines(const QList<QByteArray>& lines)
{
    for (const QByteArray& line : lines)
        writeLine(line);
}

void PlayerConnection::sendPrompt()
{
    writeText(state.prompt(combat ? combat->status() : QString()) + telnet.promptEnd());
    afterPrompt = telnet.isStandardClient();
}

void PlayerConnection::pushMsdp()
{
    if (!playing || !open || socket->state() != QAbstractSocket::ConnectedState)
        return;
    const QByteArray bytes = msdp.changes(msdpVariables());
    if (!bytes.isEmpty())
        socket->write(telnet.encode(bytes));
}

MsdpVariables PlayerConnection::msdpVariables() const
{
    const Room* room = server->world().room(state.roomId);
    QStringList occupants;
    if (room)
        occupants = room->npcs + room->regulars + server->playersInRoom(room->id, this);
    const auto number = [](int value) {
        return QString::number(value);
    };
    return {
        {QStringLiteral("CHARACTER_NAME"), state.name},
        {QStringLiteral("CHARACTER_RACE"), state.race},
        {QStringLiteral("CHARACTER_CLASS"), state.characterClass},
        {QStringLiteral("CHARACTER_LEVEL"), number(state.level)},
        {QStringLiteral("CHARACTER_POWERLEVEL_MAX"), number(state.powerLevelMax)},
        {QStringLiteral("CHARACTER_POWERLEVEL"), number(state.powerLevel)},
        {QStringLiteral("CHARACTER_KI_MAX"), number(state.kiMax)},
        {QStringLiteral("CHARACTER_KI"), number(state.ki)},
        {QStringLiteral("CHARACTER_FATIGUE_MAX"), number(state.fatigueMax)},
        {QStringLiteral("CHARACTER_FATIGUE"), number(state.fatigue)},
        {QStringLiteral("CHARACTER_AFFECTS"), state.affects(combat.has_value())},
        {QStringLiteral("CHARACTER_RESISTANCE_PHYSICAL"), number(state.resistancePhysical)},
        {QStringLiteral("CHARACTER_RESISTANCE_MAGICAL"), number(state.resistanceMagical)},
        {QStringLiteral("CHARACTER_MAGICPOWER"), number(state.magicPower)},
        // Maximum and health before the name: the client redraws the opponent
        // panel on each of the three and should never draw a stale maximum.
        {QStringLiteral("OPPONENT_HEALTH_MAX"), number(combat ? combat->opponentHealthMax() : 0)},
        {QStringLiteral("OPPONENT_HEALTH"), number(combat ? combat->opponentHealth() : 0)},
        {QStringLiteral("OPPONENT_NAME"), combat ? combat->opponentName() : QStringLiteral("None")},
        {QStringLiteral("COMBO"), number(combat ? combat->combo() : 0)},
        {QStringLiteral("ROOM_NAME"), room ? room->name : QString()},
        {QStringLiteral("ROOM_EXITS"), room ? World::exitList(*room) : QString()},
        {QStringLiteral("ROOM_CHARACTERS"), occupants.join(QStringLiteral(", "))},
    };
}
