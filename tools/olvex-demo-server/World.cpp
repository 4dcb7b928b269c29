#include "tools/olvex-demo-server/World.h"

#include "tools/olvex-demo-server/Ansi.h"

namespace {

const QStringList kDirections{QStringLiteral("north"), QStringLiteral("east"), QStringLiteral("south"),
                              QStringLiteral("west"),  QStringLiteral("up"),   QStringLiteral("down")};

QPair<QString, QString> exit(const char* direction, const char* roomId)
{
    return {QString::fromLatin1(direction), QString::fromLatin1(roomId)};
}

} // namespace

World::World()
{
    addTownRooms();
    addOuterRooms();
    addNpcs();
}

void World::addTownRooms()
{
    using namespace Ansi;
    addRoom({QStringLiteral("plaza"),
             QStringLiteral("Sunstone Plaza"),
             QByteArray(kWhite) + "Worn flagstones spread out around a " + kBoldYellow + "great sunstone" +
                 kReset + kWhite + " that hums with stored ki.\n" +
                 "Pilgrims and fighters cross the square in every direction, and a " + fg256(214) +
                 "warm glow" + kReset + kWhite + "\nrises from the stone's " +
                 "cracks. A watchtower looms overhead.\n" + kReset,
             {exit("north", "grounds"), exit("east", "market"), exit("west", "dojo"), exit("up", "tower")},
             {QStringLiteral("Guard")},
             {QStringLiteral("Zara"), QStringLiteral("Kyren")}});
    addRoom({QStringLiteral("grounds"),
             QStringLiteral("Training Grounds"),
             QByteArray(kGreen) + "Trampled grass and cratered earth mark where students spar " +
                 "from dawn\nto dusk. A battered " + kBoldCyan + "sparring robot" + kReset + kGreen +
                 " whirs in the middle of a chalk circle.\n" + fg256(244) +
                 "To the north the land turns red and dry.\n" + kReset,
             {exit("north", "wastes"), exit("south", "plaza")},
             {QStringLiteral("Sparbot")},
             {QStringLiteral("Tomo")}});
    addRoom({QStringLiteral("market"),
             QStringLiteral("Market Row"),
             QByteArray(kYellow) + "Stalls crowd both sides of a narrow lane: " + fg256(203) +
                 "fire-red peppers" + kReset + kYellow + ", " + fg256(45) + "blue capsules" + kReset +
                 kYellow + ",\nweighted training gear and bootleg tournament " +
                 "scrolls. Keep a hand on your purse.\n" + kReset,
             {exit("west", "plaza")},
             {QStringLiteral("Merchant"), QStringLiteral("Pickpocket")},
             {}});
    addRoom({QStringLiteral("dojo"),
             QStringLiteral("Old Dojo"),
             QByteArray(fg256(180)) + "Polished cedar boards creak under your feet. Faded banners " +
                 "read " + kBold + "DISCIPLINE" + kReset + fg256(180) + " and\n" + kBold + "PATIENCE" +
                 kReset + fg256(180) + ". A trapdoor in the corner leads down " + "into the dark.\n" + kReset,
             {exit("east", "plaza"), exit("down", "caverns")},
             {QStringLiteral("Master_Onji")},
             {}});
}

// The rooms away from the streets: the wastes, the tower and the caverns
// under the dojo.
void World::addOuterRooms()
{
    using namespace Ansi;
    addRoom({QStringLiteral("wastes"),
             QStringLiteral("Red Wastes"),
             QByteArray(fg256(166)) + "Rust-coloured dust whips across broken mesas. Scorched " +
                 "rings in the rock\nshow where someone fired a " + kBoldRed + "ki blast" + kReset +
                 fg256(166) + " not long ago. " + kRed + "Bandits" + kReset + fg256(166) +
                 " like it out here.\n" + kReset,
             {exit("south", "grounds")},
             {QStringLiteral("Bandit"), QStringLiteral("Dustwolf")},
             {}});
    addRoom({QStringLiteral("tower"),
             QStringLiteral("Lookout Tower"),
             QByteArray(kCyan) + "Wind tugs at your gi on the open platform. The whole town " +
                 "lies below you,\nand far off the " + rgb(255, 110, 40) + "red wastes" + kReset + kCyan +
                 " shimmer under a " + rgb(120, 180, 255) + "pale sky" + kReset + kCyan + ".\n" + kReset,
             {exit("down", "plaza")},
             {QStringLiteral("Hawk")},
             {}});
    addRoom({QStringLiteral("caverns"),
             QStringLiteral("Crystal Caverns"),
             QByteArray(kMagenta) + "Crystals jut from every wall, each pulsing " + rgb(190, 90, 255) +
                 "violet" + kReset + kMagenta + " in time with your heartbeat.\n" +
                 "Something large shifts in the deeper dark, grinding stone on stone.\n" + kReset,
             {exit("up", "dojo")},
             {QStringLiteral("Golem")},
             {}});
}

void World::addNpcs()
{
    addNpc({QStringLiteral("Guard"), 900, 40, QStringLiteral("a heavy halberd"), 120});
    addNpc({QStringLiteral("Sparbot"), 600, 25, QStringLiteral("a padded steel fist"), 80});
    addNpc({QStringLiteral("Merchant"), 300, 15, QStringLiteral("a rolled-up ledger"), 40});
    addNpc({QStringLiteral("Pickpocket"), 400, 30, QStringLiteral("a hidden knife"), 70});
    addNpc({QStringLiteral("Master_Onji"), 1800, 70, QStringLiteral("a lightning palm strike"), 300});
    addNpc({QStringLiteral("Bandit"), 700, 45, QStringLiteral("a rusty blade"), 150});
    addNpc({QStringLiteral("Dustwolf"), 500, 35, QStringLiteral("snapping jaws"), 90});
    addNpc({QStringLiteral("Hawk"), 250, 20, QStringLiteral("raking talons"), 40});
    addNpc({QStringLiteral("Golem"), 2400, 80, QStringLiteral("a crystal-studded fist"), 400});
}

void World::addRoom(Room room)
{
    rooms.insert(room.id, std::move(room));
}

void World::addNpc(Npc npc)
{
    npcs.insert(npc.name, std::move(npc));
}

const Room* World::room(const QString& id) const
{
    auto it = rooms.constFind(id);
    return it == rooms.constEnd() ? nullptr : &*it;
}

const Npc* World::npc(const QString& name) const
{
    auto it = npcs.constFind(name);
    return it == npcs.constEnd() ? nullptr : &*it;
}

QString World::direction(const QString& word)
{
    const QString lower = word.toLower();
    for (const QString& direction : kDirections) {
        if (lower == direction || lower == direction.left(1))
            return direction;
    }
    return {};
}

QString World::opposite(const QString& direction)
{
    const int index = kDirections.indexOf(direction);
    if (index < 0)
        return {};
    // The list pairs north/south and east/west two apart, up/down one apart.
    if (index < 4)
        return kDirections.at((index + 2) % 4);
    return kDirections.at(index == 4 ? 5 : 4);
}

QString World::exitList(const Room& room)
{
    QStringList names;
    for (const auto& exit : room.exits)
        names << exit.first;
    return names.join(QStringLiteral(", "));
}

QString World::exitTarget(const Room& room, const QString& direction)
{
    for (const auto& exit : room.exits) {
        if (exit.first == direction)
            return exit.second;
    }
    return {};
}

QString World::findNpc(const Room& room, const QString& prefix) const
{
    if (prefix.isEmpty())
        return {};
    for (const QString& name : room.npcs) {
        if (name.startsWith(prefix, Qt::CaseInsensitive))
            return name;
    }
    return {};
}

QStringList World::regulars() const
{
    QStringList names;
    for (const Room& room : rooms)
        names += room.regulars;
    names.sort();
    return names;
}

QString World::findRegular(const QString& name) const
{
    for (const QString& regular : regulars()) {
        if (regular.compare(name, Qt::CaseInsensitive) == 0)
            return regular;
    }
    return {};
}
