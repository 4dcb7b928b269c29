#include "tools/olvex-demo-server/CommandInterpreter.h"

#include <QHash>
#include <QTcpSocket>
#include <QTimer>

#include "tools/olvex-demo-server/Ansi.h"
#include "tools/olvex-demo-server/DemoServer.h"
#include "tools/olvex-demo-server/PlayerConnection.h"

namespace {

constexpr int kTellReplyMs = 1200;

QByteArray utf8(const QString& text)
{
    return text.toUtf8();
}

} // namespace

CommandInterpreter::CommandInterpreter(PlayerConnection& player)
    : player(player)
{
}

CommandInterpreter::Handler CommandInterpreter::handlerFor(const QString& word)
{
    static const QHash<QString, Handler> handlers{
        {QStringLiteral("look"), &CommandInterpreter::look},
        {QStringLiteral("l"), &CommandInterpreter::look},
        {QStringLiteral("say"), &CommandInterpreter::say},
        {QStringLiteral("tell"), &CommandInterpreter::tell},
        {QStringLiteral("ooc"), &CommandInterpreter::ooc},
        {QStringLiteral("chat"), &CommandInterpreter::chat},
        {QStringLiteral("score"), &CommandInterpreter::score},
        {QStringLiteral("who"), &CommandInterpreter::who},
        {QStringLiteral("kill"), &CommandInterpreter::kill},
        {QStringLiteral("k"), &CommandInterpreter::kill},
        {QStringLiteral("attack"), &CommandInterpreter::attack},
        {QStringLiteral("flee"), &CommandInterpreter::flee},
        {QStringLiteral("rest"), &CommandInterpreter::rest},
        {QStringLiteral("quit"), &CommandInterpreter::quit},
        {QStringLiteral("help"), &CommandInterpreter::help},
        {QStringLiteral("flood"), &CommandInterpreter::flood},
    };
    return handlers.value(word, nullptr);
}

void CommandInterpreter::runCommand(const QString& line)
{
    const QString trimmed = line.trimmed();
    const QString word = trimmed.section(QLatin1Char(' '), 0, 0).toLower();
    const QString argument = trimmed.section(QLatin1Char(' '), 1).trimmed();
    const QString direction = World::direction(word);
    if (word.isEmpty()) {
        player.sendPrompt();
        return;
    }
    if (!direction.isEmpty()) {
        move(direction);
    } else if (Handler handler = handlerFor(word)) {
        (this->*handler)(argument);
        if (word == QLatin1String("quit") || word == QLatin1String("flood"))
            return; // no prompt after goodbye; a flood prompts when it ends
    } else {
        player.writeLine("Huh? Type 'help' for a list of commands.");
    }
    player.pushMsdp();
    player.sendPrompt();
}

void CommandInterpreter::look(const QString&)
{
    const Room* room = player.server->world().room(player.state.roomId);
    if (!room)
        return;
    QStringList others = room->npcs + room->regulars + player.server->playersInRoom(room->id, &player);
    player.writeText(QByteArray(Ansi::kBold) + Ansi::rgb(255, 170, 60) + utf8(room->name) + Ansi::kReset +
                     '\n' + room->description);
    player.writeLine(QByteArray(Ansi::kGreen) + "Exits: " + utf8(World::exitList(*room)) + Ansi::kReset);
    player.writeLine(QByteArray(Ansi::kYellow) + "Also here: " + utf8(others.join(QStringLiteral(", "))) +
                     '.' + Ansi::kReset);
}

void CommandInterpreter::move(const QString& direction)
{
    const Room* room = player.server->world().room(player.state.roomId);
    const QString target = room ? World::exitTarget(*room, direction) : QString();
    if (player.combat) {
        player.writeLine("You are in the middle of a fight! Try 'flee' first.");
        return;
    }
    if (target.isEmpty()) {
        player.writeLine("You cannot go that way.");
        return;
    }
    if (player.state.resting) {
        player.state.resting = false;
        player.writeLine("You stop meditating and get to your feet.");
    }
    const QString from = player.state.roomId;
    player.server->tellRoom(from, utf8(player.state.name) + " leaves " + utf8(direction) + '.', &player);
    player.state.roomId = target;
    player.state.fatigue = std::max(0, player.state.fatigue - 1);
    player.server->tellRoom(
        target, utf8(player.state.name) + " arrives from the " + utf8(World::opposite(direction)) + '.',
        &player);
    look({});
    player.server->roomOccupantsChanged(from);
    player.server->roomOccupantsChanged(target);
}

void CommandInterpreter::say(const QString& text)
{
    if (text.isEmpty()) {
        player.writeLine("Say what?");
        return;
    }
    player.writeLine(QByteArray(Ansi::kCyan) + "You say '" + utf8(text) + "'" + Ansi::kReset);
    player.server->tellRoom(player.state.roomId,
                            QByteArray(Ansi::kCyan) + utf8(player.state.name) + " says '" + utf8(text) + "'" +
                                Ansi::kReset,
                            &player);
}

void CommandInterpreter::tell(const QString& argument)
{
    const QString who = argument.section(QLatin1Char(' '), 0, 0);
    const QString text = argument.section(QLatin1Char(' '), 1).trimmed();
    if (who.isEmpty() || text.isEmpty()) {
        player.writeLine("Tell whom what?");
        return;
    }
    PlayerConnection* target = player.server->findPlayer(who);
    const QString regular = player.server->world().findRegular(who);
    if (target == &player) {
        player.writeLine("You mutter to yourself. Nobody answers.");
    } else if (target) {
        target->deliver(utf8(player.state.name) + " tells you: " + utf8(text));
        player.writeLine(QByteArray(Ansi::kMagenta) + "You tell " + utf8(target->name()) + ": " +
                         Ansi::kReset + utf8(text));
    } else if (!regular.isEmpty()) {
        player.writeLine(QByteArray(Ansi::kMagenta) + "You tell " + utf8(regular) + ": " + Ansi::kReset +
                         utf8(text));
        // The regulars are not real players, but they do answer.
        QTimer::singleShot(kTellReplyMs, &player, [player = &player, regular] {
            player->writeLine(utf8(regular) + " tells you: Ha, good one. See you at the training grounds!");
        });
    } else {
        player.writeLine("No one called " + utf8(who) + " is playing right now.");
    }
}

void CommandInterpreter::ooc(const QString& text)
{
    speakOnChannel(Ansi::kBoldMagenta, "OOC", "OOC", text);
}

void CommandInterpreter::chat(const QString& text)
{
    speakOnChannel(Ansi::kBoldCyan, "CHAT", "chat", text);
}

void CommandInterpreter::speakOnChannel(const char* colour, const char* tag, const char* channelName,
                                        const QString& text)
{
    if (text.isEmpty()) {
        player.writeLine(QByteArray("Say what on the ") + channelName + " channel?");
        return;
    }
    player.server->broadcast(QByteArray(colour) + '[' + tag + ']' + Ansi::kReset + ' ' +
                             utf8(player.state.name) + ": " + utf8(text));
}

void CommandInterpreter::score(const QString&)
{
    player.writeLines(player.state.scoreSheet());
}

void CommandInterpreter::who(const QString&)
{
    player.writeLine(QByteArray(Ansi::kBold) + "Players in the realm:" + Ansi::kReset);
    const QStringList names = player.server->playerNames() + player.server->world().regulars();
    for (const QString& name : names)
        player.writeLine("  " + utf8(name));
}

void CommandInterpreter::kill(const QString& target)
{
    if (target.isEmpty() && !player.combat) {
        player.writeLine("Kill whom?");
        return;
    }
    attack(target);
}

void CommandInterpreter::attack(const QString& target)
{
    if (player.combat) {
        player.writeLine("You are already fighting the " + utf8(player.combat->opponentName()) + '!');
        return;
    }
    const Room* room = player.server->world().room(player.state.roomId);
    if (!room)
        return;
    const QString npcName =
        target.isEmpty() ? room->npcs.value(0) : player.server->world().findNpc(*room, target);
    const Npc* npc = player.server->world().npc(npcName);
    if (!npc) {
        if (!player.server->world().findRegular(target).isEmpty() || player.server->findPlayer(target))
            player.writeLine("Fighting other players is not allowed in this realm.");
        else
            player.writeLine("There is nobody called '" + utf8(target) + "' here to fight.");
        return;
    }
    player.state.resting = false;
    player.combat.emplace(*npc);
    player.writeLine(QByteArray(Ansi::kBoldRed) + "You attack the " + utf8(npc->name) + '!' + Ansi::kReset);
    player.server->tellRoom(player.state.roomId,
                            utf8(player.state.name) + " attacks the " + utf8(npc->name) + '!', &player);
    player.combatTimer->start();
}

void CommandInterpreter::flee(const QString&)
{
    if (!player.combat) {
        player.writeLine("You are not fighting anyone.");
        return;
    }
    player.writeLine(QByteArray(Ansi::kYellow) + "You flee from the " + utf8(player.combat->opponentName()) +
                     ", heart pounding!" + Ansi::kReset);
    player.endFight();
}

void CommandInterpreter::rest(const QString&)
{
    if (player.combat)
        player.writeLine("You cannot rest in the middle of a fight!");
    else if (player.state.isRested())
        player.writeLine("You are already fully rested.");
    else if (player.state.resting)
        player.writeLine("You are already meditating.");
    else {
        player.state.resting = true;
        player.writeLine(QByteArray(Ansi::kGreen) + "You sit down cross-legged and begin to meditate." +
                         Ansi::kReset);
    }
}

void CommandInterpreter::quit(const QString&)
{
    player.writeLine("Goodbye, " + utf8(player.state.name) + ". Come back soon!");
    // Pending output is still sent before the link closes.
    player.socket->disconnectFromHost();
}

void CommandInterpreter::flood(const QString& count)
{
    player.flood(count);
}

void CommandInterpreter::help(const QString&)
{
    const QList<QByteArray> lines{
        QByteArray(Ansi::kBold) + "Commands:" + Ansi::kReset,
        "  look (l)                 describe the room",
        "  north south east west up down (n s e w u d)",
        "  say <text>               speak to the room",
        "  tell <name> <text>       speak to one player",
        "  ooc <text>, chat <text>  speak on a public channel",
        "  score, who               your character; who is playing",
        "  kill <target>, attack    fight someone in the room",
        "  flee, rest               leave a fight; recover ki and fatigue",
        "  flood <n>                send n lines of game text at full speed",
        "  quit                     leave the game",
    };
    player.writeLines(lines);
}
