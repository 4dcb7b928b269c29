#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

// What the game screen's side panel shows, read from MSDP variables: the
// vitals, the opponent, the combo counter, the statistics rows, the affects
// and the room. It keeps the last value of every variable it understands and
// answers in finished texts, so the widgets only copy them onto labels.
// Supporting a new MSDP field means one row in statRows() and one label.
class CharacterStatus final {
public:
    // A vital is measured against this until the server sends a usable maximum.
    static constexpr qint64 kUnknownMaximum = 999999;

    enum class Vital { PowerLevel, Ki, Fatigue };

    // The parts of the panel that one variable can change.
    enum Section : unsigned {
        NoSection = 0,
        PowerLevelSection = 1u << 0,
        KiSection = 1u << 1,
        FatigueSection = 1u << 2,
        ComboSection = 1u << 3,
        OpponentSection = 1u << 4,
        StatsSection = 1u << 5,
        AffectsSection = 1u << 6,
        RoomNameSection = 1u << 7,
        ExitsSection = 1u << 8,
        OccupantsSection = 1u << 9,
    };

    // One row of the statistics tab: its caption and the variables that fill
    // the placeholders of its format. A vital row reads its two variables as
    // current and maximum with the vital rules.
    struct StatRow {
        QString caption;
        QString accessibleName;
        QString format;
        QStringList variables;
        bool vital = false;
    };

    struct VitalValue {
        qint64 current = 0;
        qint64 maximum = kUnknownMaximum;
    };

    enum class OpponentState {
        None,     // no fight: the panel is cleared
        Unknown,  // a name but no usable maximum yet: the panel stays as it was
        Fighting, // name and health are known
    };

    static const QList<StatRow>& statRows();

    // Records one variable; returns the sections whose texts may have changed
    // (NoSection for variables the panel does not show).
    unsigned apply(const QString& name, const QString& value);

    VitalValue vital(Vital which) const;
    QString statText(int row) const;
    // Rows of statRows() that show the variable.
    static QList<int> statRowsUsing(const QString& name);

    QString comboText() const;
    // Whether a combo is running (the counter reads at least 1).
    bool comboActive() const;

    OpponentState opponentState() const;
    QString opponentName() const { return value(QStringLiteral("OPPONENT_NAME")); }
    qint64 opponentHealth() const;
    qint64 opponentMaximum() const;

    QStringList affects() const;
    QString roomNameText() const;
    QString exitsText() const;
    QStringList occupants() const;

    // Integers from the server: base 10, anything else reads as 0.
    static qint64 readNumber(const QString& text);

private:
    QString value(const QString& name) const { return values.value(name); }

    QHash<QString, QString> values;
};
