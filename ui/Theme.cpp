#include "ui/Theme.h"

#include <QFontDatabase>
#include <QList>
#include <QPair>

#include "script/LineHighlight.h"

namespace Theme {
namespace {

// Colours that only the style sheet uses: the chunk gradients of the vitals
// bars, so power level, ki and fatigue can be told apart at a glance.
constexpr QLatin1String kKiStart{"#7c4dff"};
constexpr QLatin1String kFatigueStart{"#2e7d32"};
constexpr QLatin1String kFatigueEnd{"#66bb6a"};
constexpr QLatin1String kOpponentStart{"#c62828"};
constexpr QLatin1String kHover{"#242424"};
constexpr QLatin1String kAccentHover{"#ff7d1f"};
constexpr QLatin1String kDisabledText{"#5a5a5a"};
constexpr QLatin1String kDisabledBorder{"#262626"};
constexpr QLatin1String kSelection{"rgba(255, 107, 0, 90)"};

} // namespace

// The sheets are written with @name@ placeholders and filled from the palette,
// which keeps them readable and every colour defined once.
QString withPalette(QString sheet)
{
    const QList<QPair<QLatin1String, QLatin1String>> tokens = {
        {QLatin1String("@accent@"), kAccent},
        {QLatin1String("@accentEnd@"), kAccentEnd},
        {QLatin1String("@secondary@"), kSecondary},
        {QLatin1String("@deep@"), kDeepBackground},
        {QLatin1String("@panel@"), kPanelBackground},
        {QLatin1String("@component@"), kComponentBackground},
        {QLatin1String("@border@"), kBorder},
        {QLatin1String("@text@"), kText},
        {QLatin1String("@soft@"), kTextSoft},
        {QLatin1String("@muted@"), kTextMuted},
        {QLatin1String("@kiStart@"), kKiStart},
        {QLatin1String("@fatigueStart@"), kFatigueStart},
        {QLatin1String("@fatigueEnd@"), kFatigueEnd},
        {QLatin1String("@opponentStart@"), kOpponentStart},
        {QLatin1String("@opponentEnd@"), kOpponentName},
        {QLatin1String("@hover@"), kHover},
        {QLatin1String("@accentHover@"), kAccentHover},
        {QLatin1String("@disabledText@"), kDisabledText},
        {QLatin1String("@disabledBorder@"), kDisabledBorder},
        {QLatin1String("@selection@"), kSelection},
        {QLatin1String("@powerLevelBar@"), kPowerLevelBar},
        {QLatin1String("@kiBar@"), kKiBar},
        {QLatin1String("@fatigueBar@"), kFatigueBar},
        {QLatin1String("@opponentHealthBar@"), kOpponentHealthBar},
    };
    for (const auto& [token, value] : tokens)
        sheet.replace(token, value);
    return sheet;
}

QString panelStyleSheet()
{
    return withPalette(QStringLiteral("background-color: @component@; color: @text@;"));
}

QString terminalStyleSheet()
{
    return QStringLiteral("QPlainTextEdit { background-color: #000000; } "
                          "QAbstractScrollArea { background-color: #000000; }");
}

QString statusLabelStyleSheet()
{
    return withPalette(QStringLiteral("color: @muted@; font-size: 11px; padding: 0px 8px;"));
}

QString pausedLabelStyleSheet()
{
    return QStringLiteral("color: %1; font-weight: bold; padding: 0px 8px;").arg(kHighlight);
}

QString comboLabelStyleSheet()
{
    return labelStyleSheet(kHighlight, true);
}

QString compactButtonStyleSheet()
{
    return QStringLiteral("QPushButton { padding: 6px 8px; }");
}

QString labelStyleSheet(QLatin1String color, bool bold)
{
    return QStringLiteral("color: %1;%2")
        .arg(color, bold ? QStringLiteral(" font-weight: bold;") : QString());
}

QString featureDescriptionStyleSheet()
{
    return QStringLiteral("color: %1; margin-left: 24px; margin-bottom: 6px;").arg(kTextMuted);
}

QString roomNameStyleSheet()
{
    return QStringLiteral("font-weight: bold;");
}

QString findMessageStyleSheet()
{
    return labelStyleSheet(kOpponentName);
}

QString ansiColored(QLatin1String color, const QString& text)
{
    // The same wrapper a trigger's highlight uses.
    return LineHighlight::apply(text, color, false);
}

QFont monospaceFont(int pointSize)
{
    QFont font = QFontDatabase::families().contains(kMonospaceFamily)
                     ? QFont(kMonospaceFamily)
                     : QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace);
    font.setPointSize(pointSize);
    return font;
}

} // namespace Theme
