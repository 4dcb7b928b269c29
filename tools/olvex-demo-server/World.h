#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// Someone the player can fight. Names are single words because the client
// splits the occupants list at blanks as well as commas.
struct Npc {
    QString name;
    int maxHealth = 0;
    int damage = 0;     // typical damage of one blow that lands
    QString attack;     // "a rusty blade": what the blow is dealt with
    int experience = 0; // awarded for a win
};

struct Room {
    QString id;
    QString name;
    QByteArray description;               // coloured, every line ends in "\n"
    QList<QPair<QString, QString>> exits; // direction, room id; compass order
    QStringList npcs;                     // fightable, in the order listed
    QStringList regulars;                 // other "players" idling here
};

// The fixed map of the demo: a small town with a few rooms around a plaza.
class World final {
public:
    World();

    const Room* room(const QString& id) const;
    const Npc* npc(const QString& name) const;
    QString startRoomId() const { return QStringLiteral("plaza"); }

    // "n" or "north" gives "north"; anything that is not a direction gives "".
    static QString direction(const QString& word);
    static QString opposite(const QString& direction);
    // "north, east": the form the room panel shows.
    static QString exitList(const Room& room);
    // The room the exit leads to, or "" when there is no such exit.
    static QString exitTarget(const Room& room, const QString& direction);
    // The NPC of the room whose name starts with the given text (any case).
    QString findNpc(const Room& room, const QString& prefix) const;
    // The idling "players" (not real connections) that chatter and answer
    // tells; findRegular matches a whole name in any case.
    QStringList regulars() const;
    QString findRegular(const QString& name) const;

private:
    void addTownRooms();
    void addOuterRooms();
    void addNpcs();
    void addRoom(Room room);
    void addNpc(Npc npc);

    QHash<QString, Room> rooms;
    QHash<QString, Npc> npcs;
};
