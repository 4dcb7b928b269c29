#pragma once

#include <QString>

class PlayerConnection;

// Carries out what a player who has logged in types: movement, talk, fights,
// the help text. The connection it belongs to keeps the socket, the output and
// the character; this class only knows the game's commands.
class CommandInterpreter final {
public:
    explicit CommandInterpreter(PlayerConnection& player);

    // One typed line; answers with a prompt unless the command ends the game
    // or prompts on its own later.
    void runCommand(const QString& line);
    void look(const QString& argument);

private:
    using Handler = void (CommandInterpreter::*)(const QString& argument);
    static Handler handlerFor(const QString& word);

    void move(const QString& direction);
    void say(const QString& text);
    void tell(const QString& argument);
    void ooc(const QString& text);
    void chat(const QString& text);
    // A public channel: everyone playing gets "[TAG] Name: text".
    void speakOnChannel(const char* colour, const char* tag, const char* channelName, const QString& text);
    void score(const QString& argument);
    void who(const QString& argument);
    void kill(const QString& target);
    void attack(const QString& target);
    void flee(const QString& argument);
    void rest(const QString& argument);
    void quit(const QString& argument);
    void help(const QString& argument);
    void flood(const QString& count);

    PlayerConnection& player;
};
