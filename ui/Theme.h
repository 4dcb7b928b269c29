#pragma once

#include <QFont>
#include <QLatin1String>
#include <QString>

#include "lua/LuaSyntaxColors.h"

// The client's one dark look: every colour a player sees and the style sheets
// built from them live here, so a widget never spells a colour of its own.
namespace Theme {

// Branding shown in headers and the About text.
inline constexpr QLatin1String kProductName{"Olvex Desktop Client"};
inline constexpr QLatin1String kProductVersion{"1.0.1"};

// Palette. The accent is a gradient from kAccent to kAccentEnd.
inline constexpr QLatin1String kAccent{"#ff6b00"};
inline constexpr QLatin1String kAccentEnd{"#ff8c00"};
inline constexpr QLatin1String kSecondary{"#bb86fc"};
inline constexpr QLatin1String kDeepBackground{"#0a0a0a"};
inline constexpr QLatin1String kPanelBackground{"#0d0d0d"};
inline constexpr QLatin1String kComponentBackground{"#1a1a1a"};
inline constexpr QLatin1String kBorder{"#333333"};
inline constexpr QLatin1String kText{"#ffffff"};
inline constexpr QLatin1String kTextSoft{"#cccccc"};
inline constexpr QLatin1String kTextMuted{"#999999"};

// Opponent panel: the name in a warm red, the health numbers in amber.
inline constexpr QLatin1String kOpponentName{"#ff6b6b"};
inline constexpr QLatin1String kOpponentHealth{"#ffaa00"};

// Game screen labels: the toolbar's connection status, the "paused" mark and
// the combo counter share the amber of the opponent's health.
inline constexpr QLatin1String kHighlight{"#ffaa00"};

// Lines the client writes into the output itself, told apart from the
// game's text: echoed commands, errors, notices.
inline constexpr QLatin1String kEchoColor{"#bb86fc"};
inline constexpr QLatin1String kErrorColor{"#ff6b6b"};
inline constexpr QLatin1String kNoticeColor{"#ffaa00"};

// The Lua module editor's highlighting. Its highlighter sits in the core
// library, which cannot include this header, so the colours live beside it.
namespace LuaSyntax = ::LuaSyntaxColors;

// Object names that the application style sheet gives their own bar colours.
inline constexpr QLatin1String kPowerLevelBar{"powerLevelBar"};
inline constexpr QLatin1String kKiBar{"kiBar"};
inline constexpr QLatin1String kFatigueBar{"fatigueBar"};
inline constexpr QLatin1String kOpponentHealthBar{"opponentHealthBar"};

// Family name of the monospaced font carried in the program's resources.
inline constexpr QLatin1String kMonospaceFamily{"DejaVu Sans Mono"};

// Point sizes the terminal accepts, and the one it starts with.
inline constexpr int kMinFontSize = 6;
inline constexpr int kMaxFontSize = 24;
inline constexpr int kDefaultFontSize = 10;
// The command line's text is a little larger than the output's.
inline constexpr int kInputFontSize = 11;

// Fills the @name@ placeholders of a style sheet with palette colours
// (@accent@, @accentEnd@, @secondary@, @deep@, @panel@, @component@, @border@,
// @text@, @soft@, @muted@, @hover@, @disabledText@, @disabledBorder@,
// @selection@, @accentHover@), so a widget's own sheet never spells a colour.
QString withPalette(QString sheet);
// The sheet every side panel and small dialog carries:
// "background-color: #1a1a1a; color: #ffffff;".
QString panelStyleSheet();
// The terminal: black behind the text and behind its scroll area.
QString terminalStyleSheet();
// The game toolbar's connection status text.
QString statusLabelStyleSheet();
// The toolbar's mark shown while the output is frozen.
QString pausedLabelStyleSheet();
// The combo counter above the side tabs.
QString comboLabelStyleSheet();
// A button with a one-glyph label (the find bar's close button): less side
// padding, so the glyph is not cut off.
QString compactButtonStyleSheet();
// A label's text in one palette colour, bold if asked.
QString labelStyleSheet(QLatin1String color, bool bold = false);
// The muted, indented explanation under each box of the features dialog.
QString featureDescriptionStyleSheet();
// The room tab's room name.
QString roomNameStyleSheet();
// The connect screen: header, character list and its buttons.
QString connectScreenStyleSheet();
// The find bar's "not found" message.
QString findMessageStyleSheet();
// text between an ANSI truecolour foreground of color (#rrggbb) and a reset,
// for lines the client adds to the terminal.
QString ansiColored(QLatin1String color, const QString& text);
// Rules for every standard widget, meant for QApplication::setStyleSheet.
QString applicationStyleSheet();
// The main window's session tabs: a flat pane on the component background.
QString tabPaneStyleSheet();
// The monospaced font, falling back to the platform's fixed font when the
// resource font was not registered.
QFont monospaceFont(int pointSize);

} // namespace Theme
