#include "ui/HelpDialog.h"

#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "ui/Theme.h"

namespace {

constexpr int kHelpFontSize = 10;

const char* const kTinTinSyntax = R"help(TinTin++ Scripting Syntax
===========================

Variables:
  #var name value            - Create or update a variable
  #math result expression    - Evaluate math expression and store in variable
  $varname                   - Substitute variable in commands

Aliases:
  Trigger an alias by typing exactly the alias text
  Example: Create alias "k" to execute "kill"

Triggers:
  Pattern matching on game output
  Can use regular expressions (enable Regex checkbox)
  Executes commands when pattern matches

Timers:
  Execute commands at intervals
  Specify interval in milliseconds
  Choose "once" for one-time execution or "repeat" for continuous

Control Flow:
  #if condition; true commands; else false commands
  #N command                 - Repeat command N times
  #note text                 - Add a comment

Variables are substituted with $varname syntax in any command or alias.)help";

const char* const kMsdpVariables = R"help(MSDP Variables (MUD Server Data Protocol)
==========================================

CHARACTER_NAME       - Your character name
CHARACTER_LEVEL      - Your character level
CHARACTER_POWERLEVEL - Power level (Varnholt)
CHARACTER_HEALTH     - Current HP
CHARACTER_MANA       - Current MP
CHARACTER_FATIGUE    - Fatigue percentage
CHARACTER_AFFECTS    - List of active spells/effects

OPPONENT_NAME        - Current opponent name
OPPONENT_HEALTH      - Opponent HP percentage
OPPONENT_LEVEL       - Opponent level

ROOM_NAME           - Current room name
ROOM_DESCRIPTION    - Room description
ROOM_EXITS          - Available exits

COMBO_HISTORY       - Recent combat commands
HAS_ALL_DRAGONBALLS - Dragonball collection status

These variables update in real-time and can be used in scripts.
Check the MSDP tab in Script Editor to see live values.)help";

// Everything after the heading and the one-line summary.
const char* const kAboutBody = R"help(Features:
  - Multi-session support (up to 16 concurrent connections)
  - TinTin-like scripting (aliases, triggers, timers, variables)
  - MSDP variable tracking (50+ variables)
  - Custom channels with pattern matching
  - ANSI color support (16-color, 256-color, true color)
  - Extensive terminal features (word wrap, timestamps, logging)
  - Trigger debugger for script development
  - Dark and light themes
  - Native binaries for Windows, macOS, Linux

Keyboard Shortcuts:
  Ctrl+K  - Clear terminal
  PageUp  - Scroll up
  PageDn  - Scroll down
  Enter   - Send command)help";

constexpr QLatin1String kSummary{"A fast, scriptable desktop client for MUDs."};
constexpr QLatin1String kWebAddress{"https://olvex.example"};
constexpr QLatin1String kCopyright{"Copyright (c) 2026 The Olvex developers"};

} // namespace

HelpDialog::HelpDialog(QWidget* parent)
    : QDialog(parent)
{
    setupUi();
}

QString HelpDialog::tinTinSyntaxText()
{
    return QString::fromUtf8(kTinTinSyntax);
}

QString HelpDialog::msdpVariablesText()
{
    return QString::fromUtf8(kMsdpVariables);
}

QString HelpDialog::aboutText()
{
    const QString heading = QStringLiteral("%1 v%2").arg(Theme::kProductName, Theme::kProductVersion);
    return heading + QStringLiteral("\n============================\n") + kSummary + QStringLiteral("\n\n") +
           QString::fromUtf8(kAboutBody) + QStringLiteral("\n\nWebsite: ") + kWebAddress + QLatin1Char('\n') +
           kCopyright;
}

void HelpDialog::setupUi()
{
    setWindowTitle(QStringLiteral("Help - %1").arg(Theme::kProductName));
    setStyleSheet(Theme::panelStyleSheet());
    // Wide enough for the longest help line without a horizontal scroll bar.
    resize(720, 560);

    tabs = new QTabWidget(this);
    addTextTab(QStringLiteral("TinTin Syntax"), tinTinSyntaxText());
    addTextTab(QStringLiteral("MSDP Variables"), msdpVariablesText());
    addTextTab(QStringLiteral("About"), aboutText());

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->button(QDialogButtonBox::Close)->setText(tr("Close"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setSpacing(10);
    layout->addWidget(tabs, 1);
    layout->addWidget(buttons);
}

void HelpDialog::addTextTab(const QString& title, const QString& text)
{
    auto* view = new QPlainTextEdit(tabs);
    view->setReadOnly(true);
    view->setPlainText(text);
    // The texts line up in columns, so they need a fixed-width font.
    view->setFont(Theme::monospaceFont(kHelpFontSize));
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    view->setAccessibleName(title);
    tabs->addTab(view, title);
}
