#include "ui/GameScreen.h"

#include <QCoreApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QTabWidget>
#include <QTextCursor>
#include <QVBoxLayout>

#include <utility>

#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "terminal/TerminalWidget.h"
#include "ui/ChannelPanel.h"
#include "ui/MsdpViewer.h"
#include "ui/OpponentWidget.h"
#include "ui/ScriptEditor.h"
#include "ui/SettingsDialog.h"
#include "ui/TriggerDebugger.h"
#include "ui/VitalsWidget.h"

namespace {

const QString kTerminalFontFamily = QStringLiteral("DejaVu Sans Mono");

qint64 readNumber(const QString& text)
{
    bool ok = false;
    const qint64 value = text.toLongLong(&ok, 10);
    return ok ? value : 0;
}

QLabel* valueLabel(const QString& accessibleName)
{
    auto* label = new QLabel(QStringLiteral("-"));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAccessibleName(accessibleName);
    return label;
}

// Chat lines nearly always carry colour codes and nothing else: such a line
// is made plain here, without building the formats a full parse makes. Any
// other escape (a cursor movement, a stray ESC) is left to the parser and
// leaves plain untouched.
bool stripColourCodes(const QString& text, QString& plain)
{
    const QStringView view(text);
    qsizetype start = 0;
    qsizetype escape = view.indexOf(u'\x1b');
    QString stripped;
    stripped.reserve(text.size());
    while (escape >= 0) {
        qsizetype end = escape + 1;
        if (end >= view.size() || view[end] != u'[')
            return false;
        ++end;
        while (end < view.size() && ((view[end] >= u'0' && view[end] <= u'9') || view[end] == u';'))
            ++end;
        if (end >= view.size() || view[end] != u'm')
            return false;
        stripped.append(view.mid(start, escape - start));
        start = end + 1;
        escape = view.indexOf(u'\x1b', start);
    }
    stripped.append(view.mid(start));
    plain = std::move(stripped);
    return true;
}

} // namespace

GameScreen::GameScreen(GameSession* session, QWidget* parent)
    : QWidget(parent)
    , session(session)
    , history(session->getCharacter().key())
{
    setupUi();
    wireSignals();
    session->connect();
}

GameScreen::~GameScreen()
{
    delete scriptEditor; // a top-level window, not a child of the screen
}

void GameScreen::setupUi()
{
    setObjectName(QStringLiteral("gameScreen"));

    terminal = new TerminalWidget(this);
    terminal->setFontFamily(kTerminalFontFamily);
    terminal->setAccessibleName(tr("Game output"));
    terminal->installEventFilter(this);

    input = new QLineEdit(this);
    input->setPlaceholderText(QStringLiteral("Enter command..."));
    input->setFont(QFont(kTerminalFontFamily, 11));
    input->setAccessibleName(tr("Command input"));
    input->installEventFilter(this);
    sendButton = new QPushButton(QStringLiteral("Send"), this);
    sendButton->setAutoDefault(false);

    auto* inputRow = new QHBoxLayout;
    inputRow->setSpacing(6);
    inputRow->addWidget(input, 1);
    inputRow->addWidget(sendButton);

    auto* left = new QWidget(this);
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->setSpacing(6);
    leftLayout->addWidget(buildToolbar());
    leftLayout->addWidget(terminal, 1);
    leftLayout->addWidget(buildFindBar());
    leftLayout->addLayout(inputRow);

    auto* splitter = new QSplitter(Qt::Horizontal, this);
    splitter->addWidget(left);
    splitter->addWidget(buildSidePanel());
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({900, 360});
    splitter->setChildrenCollapsible(false);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(splitter);

    setTabOrder(input, sendButton);
    setFocusProxy(input);
}

QWidget* GameScreen::buildToolbar()
{
    auto* bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("gameToolbar"));
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);

    statusLabel = new QLabel(QStringLiteral("Disconnected"), bar);
    statusLabel->setStyleSheet(QStringLiteral("color: #999999; font-size: 11px; padding: 0px 8px;"));
    row->addWidget(statusLabel);

    // "Keys" deliberately opens the quick actions page.
    const QList<QPair<QString, QString>> scriptButtons = {
        {QStringLiteral("Variables"), QStringLiteral("Variables")},
        {QStringLiteral("Aliases"), QStringLiteral("Aliases")},
        {QStringLiteral("Triggers"), QStringLiteral("Triggers")},
        {QStringLiteral("Timers"), QStringLiteral("Timers")},
        {QStringLiteral("Keys"), QStringLiteral("Quick Actions")},
        {QStringLiteral("Lua"), QStringLiteral("Lua Scripts")},
    };
    for (const auto& [label, tab] : scriptButtons) {
        auto* button = new QPushButton(label, bar);
        button->setFocusPolicy(Qt::TabFocus);
        connect(button, &QPushButton::clicked, this, [this, tab = tab] { openScriptEditor(tab); });
        row->addWidget(button);
    }

    pausedLabel = new QLabel(QStringLiteral("⏸ PAUSED"), bar);
    pausedLabel->setStyleSheet(QStringLiteral("color: #ffaa00; font-weight: bold; padding: 0px 8px;"));
    pausedLabel->hide();
    row->addWidget(pausedLabel);
    row->addStretch(1);

    auto* settingsButton = new QPushButton(QStringLiteral("Settings"), bar);
    auto* profilesButton = new QPushButton(QStringLiteral("Profiles"), bar);
    auto* disconnectButton = new QPushButton(QStringLiteral("Disconnect"), bar);
    for (QPushButton* b : {settingsButton, profilesButton, disconnectButton}) {
        b->setFocusPolicy(Qt::TabFocus);
        row->addWidget(b);
    }
    connect(settingsButton, &QPushButton::clicked, this, &GameScreen::openSettings);
    connect(profilesButton, &QPushButton::clicked, this, &GameScreen::profiles);
    connect(disconnectButton, &QPushButton::clicked, this, &GameScreen::disconnect);
    return bar;
}

QWidget* GameScreen::buildFindBar()
{
    findBar = new QWidget(this);
    auto* row = new QHBoxLayout(findBar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);

    findField = new QLineEdit(findBar);
    findField->setMaximumWidth(200);
    findField->setPlaceholderText(QStringLiteral("Search output..."));
    findField->setAccessibleName(tr("Search output"));
    auto* prev = new QPushButton(QStringLiteral("< Prev"), findBar);
    auto* next = new QPushButton(QStringLiteral("Next >"), findBar);
    auto* close = new QPushButton(QStringLiteral("✕"), findBar);
    prev->setMaximumWidth(60);
    next->setMaximumWidth(60);
    close->setMaximumWidth(30);
    close->setAccessibleName(tr("Close search"));

    row->addWidget(new QLabel(QStringLiteral("Find:"), findBar));
    row->addWidget(findField);
    row->addWidget(prev);
    row->addWidget(next);
    row->addWidget(close);
    row->addStretch(1);
    findBar->hide();

    connect(findField, &QLineEdit::textChanged, this, &GameScreen::onFindTextChanged);
    connect(findField, &QLineEdit::returnPressed, this, [this] { findNext(true); });
    connect(next, &QPushButton::clicked, this, [this] { findNext(true); });
    connect(prev, &QPushButton::clicked, this, [this] { findNext(false); });
    connect(close, &QPushButton::clicked, this, &GameScreen::hideFindBar);

    auto* findShortcut = new QShortcut(QKeySequence::Find, this);
    findShortcut->setContext(Qt::WindowShortcut);
    connect(findShortcut, &QShortcut::activated, this, &GameScreen::showFindBar);
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    escape->setContext(Qt::WindowShortcut);
    connect(escape, &QShortcut::activated, this, [this] {
        if (findBar->isVisible())
            hideFindBar();
    });
    auto* clear = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_K), this);
    clear->setContext(Qt::WindowShortcut);
    connect(clear, &QShortcut::activated, terminal, &TerminalWidget::clearTerminal);
    return findBar;
}

QWidget* GameScreen::buildSidePanel()
{
    auto* panel = new QWidget(this);
    panel->setMinimumWidth(300);
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);

    vitals = new VitalsWidget(panel);
    opponent = new OpponentWidget(panel);
    comboLabel = new QLabel(QStringLiteral("COMBO: 0"), panel);
    comboLabel->setStyleSheet(QStringLiteral("color: #ffaa00; font-weight: bold;"));
    // With the combo counter on, the label appears only while a combo runs.
    comboLabel->setVisible(!session->isFeatureEnabled(GameFeature::ComboCounter));
    // With the opponent panel on, it appears when a fight starts.
    opponent->setVisible(!session->isFeatureEnabled(GameFeature::OpponentPanel));

    sideTabs = new QTabWidget(panel);
    channelPanel = new ChannelPanel(sideTabs);
    sideTabs->addTab(channelPanel, QStringLiteral("Channels"));
    sideTabs->addTab(buildStatsTab(), QStringLiteral("Stats"));
    sideTabs->addTab(buildAffectsTab(), QStringLiteral("Affects"));
    sideTabs->addTab(buildRoomTab(), QStringLiteral("Room"));

    layout->addWidget(vitals);
    layout->addWidget(opponent);
    layout->addWidget(comboLabel);
    layout->addWidget(sideTabs, 1);
    return panel;
}

QWidget* GameScreen::buildStatsTab()
{
    auto* page = new QWidget;
    auto* group = new QGroupBox(QStringLiteral("Character Statistics"), page);
    auto* form = new QFormLayout(group);
    statName = valueLabel(tr("Name"));
    statRaceClass = valueLabel(tr("Race and class"));
    statLevel = valueLabel(tr("Level"));
    statPowerLevel = valueLabel(tr("Power level"));
    statKi = valueLabel(tr("Ki"));
    statFatigue = valueLabel(tr("Fatigue"));
    statResistances = valueLabel(tr("Resistances"));
    statMagicPower = valueLabel(tr("Magic power"));
    form->addRow(QStringLiteral("Name:"), statName);
    form->addRow(QStringLiteral("Race/Class:"), statRaceClass);
    form->addRow(QStringLiteral("Level:"), statLevel);
    form->addRow(QStringLiteral("Power Level:"), statPowerLevel);
    form->addRow(QStringLiteral("Ki:"), statKi);
    form->addRow(QStringLiteral("Fatigue:"), statFatigue);
    form->addRow(QStringLiteral("Resistances:"), statResistances);
    form->addRow(QStringLiteral("Magic Power:"), statMagicPower);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(group);
    layout->addStretch(1);
    return page;
}

QWidget* GameScreen::buildAffectsTab()
{
    auto* page = new QWidget;
    auto* group = new QGroupBox(QStringLiteral("Active Affects"), page);
    affectsList = new QListWidget(group);
    affectsList->setAccessibleName(tr("Active affects"));
    auto* groupLayout = new QVBoxLayout(group);
    groupLayout->addWidget(affectsList);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(group);
    return page;
}

QWidget* GameScreen::buildRoomTab()
{
    auto* page = new QWidget;
    roomName = new QLabel(QStringLiteral("Room: Unknown"), page);
    roomName->setStyleSheet(QStringLiteral("font-weight: bold;"));
    roomName->setWordWrap(true);
    roomExits = new QLabel(QStringLiteral("Exits: none"), page);
    roomExits->setWordWrap(true);
    roomCharacters = new QListWidget(page);
    roomCharacters->setAccessibleName(tr("Players and NPCs here"));
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(roomName);
    layout->addWidget(roomExits);
    layout->addWidget(new QLabel(QStringLiteral("Players/NPCs:"), page));
    layout->addWidget(roomCharacters, 1);
    return page;
}

void GameScreen::wireSignals()
{
    connect(session, &GameSession::connected, this, &GameScreen::onSessionConnected);
    connect(session, &GameSession::disconnected, this, &GameScreen::onSessionDisconnected);
    connect(session, &GameSession::textReceived, this, &GameScreen::onSessionTextReceived);
    connect(session, &GameSession::msdpUpdated, this, &GameScreen::onMsdpUpdated);
    connect(session, &GameSession::channelMessage, this, &GameScreen::onChannelMessage);
    connect(session, &GameSession::keyBindingsChanged, this, &GameScreen::onKeyBindingsChanged);
    connect(terminal, &TerminalWidget::frozenChanged, this, &GameScreen::onTerminalFrozenChanged);
    connect(input, &QLineEdit::returnPressed, this, &GameScreen::onInputSubmitted);
    connect(sendButton, &QPushButton::clicked, this, &GameScreen::onInputSubmitted);

    // The session announced its bindings before this screen existed.
    onKeyBindingsChanged(session->getScriptEngine()->scripts().keyBindings);
}

void GameScreen::onSessionConnected()
{
    terminal->appendAnsiText(QStringLiteral("\n[CONNECTED]\n"));
    statusLabel->setText(QStringLiteral("Connected"));
}

void GameScreen::onSessionDisconnected()
{
    terminal->appendAnsiText(QStringLiteral("\n[DISCONNECTED]\n"));
    statusLabel->setText(QStringLiteral("Disconnected"));
}

void GameScreen::onSessionTextReceived(const QString& text)
{
    terminal->appendAnsiText(text);
}

void GameScreen::onChannelMessage(const QString& channel, const QString& text)
{
    // A list item cannot show colours, and raw escape codes are unreadable.
    QString plain;
    if (!stripColourCodes(text, plain)) {
        for (const AnsiParser::FormatRun& run : channelTextParser.parse(text))
            plain += run.text;
    }
    channelPanel->addMessage(channel, plain.trimmed());
}

void GameScreen::onTerminalFrozenChanged(bool frozen)
{
    pausedLabel->setVisible(frozen);
}

void GameScreen::onInputSubmitted()
{
    const QString text = input->text();
    input->clear();
    // An empty line is a real command to the game (it often redraws the prompt).
    session->sendCommand(text);
    history.record(text);
}

bool GameScreen::browseHistory(int key)
{
    const std::optional<QString> text = key == Qt::Key_Up ? history.older(input->text()) : history.newer();
    if (text)
        input->setText(*text);
    return true;
}

bool GameScreen::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);

    if (watched == input) {
        if (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down)
            return browseHistory(key->key());
        if (key->key() == Qt::Key_PageUp || key->key() == Qt::Key_PageDown) {
            terminal->verticalScrollBar()->triggerAction(key->key() == Qt::Key_PageUp
                                                             ? QAbstractSlider::SliderPageStepSub
                                                             : QAbstractSlider::SliderPageStepAdd);
            return true;
        }
    } else if (watched == terminal) {
        const bool modified = key->modifiers() & (Qt::ControlModifier | Qt::AltModifier);
        const bool printable = !key->text().isEmpty() && key->text().at(0).isPrint();
        const bool editing = key->key() == Qt::Key_Backspace || key->key() == Qt::Key_Delete;
        if (!modified && (printable || editing)) {
            // Typing while the output has focus goes to the command line.
            input->setFocus();
            QCoreApplication::sendEvent(input, event);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void GameScreen::showFindBar()
{
    findBar->show();
    findField->setFocus();
    findField->selectAll();
}

void GameScreen::hideFindBar()
{
    findBar->hide();
    terminal->clearFindHighlights();
    input->setFocus();
}

void GameScreen::onFindTextChanged(const QString& text)
{
    if (text.isEmpty()) {
        terminal->clearFindHighlights();
        return;
    }
    // Appending keeps the output's own cursor at the end, from where a forward
    // search finds nothing. Search from the match being refined, or from the
    // top, and leave the view where it was when nothing matches.
    const int scrollPosition = terminal->verticalScrollBar()->value();
    QTextCursor from = terminal->textCursor();
    if (from.hasSelection())
        from.setPosition(from.selectionStart());
    else
        from.movePosition(QTextCursor::Start);
    terminal->setTextCursor(from);
    if (!terminal->findInOutput(text, true, false, false))
        terminal->verticalScrollBar()->setValue(scrollPosition);
}

void GameScreen::findNext(bool forward)
{
    terminal->findInOutput(findField->text(), forward, false, false);
}

void GameScreen::openSettings()
{
    SettingsDialog dialog(this);
    connect(&dialog, &SettingsDialog::fontSizeChanged, terminal, &TerminalWidget::setFontSize);
    if (dialog.exec() == QDialog::Accepted)
        terminal->setFontSize(dialog.getFontSize());
}

void GameScreen::openScriptEditor(const QString& tab)
{
    if (!scriptEditor) {
        scriptEditor = new ScriptEditor(nullptr);
        scriptEditor->setSession(session);
        scriptEditor->setScripts(Storage::instance()->getScripts(session->getCharacter()));
        connect(scriptEditor, &ScriptEditor::scriptsChanged, session, &GameSession::updateScripts);

        // Live MSDP values and fired triggers sit beside the scripts they help debug.
        auto* msdpViewer = new MsdpViewer(scriptEditor);
        msdpViewer->setSession(session);
        scriptEditor->addInfoTab(msdpViewer, QStringLiteral("MSDP"));
        auto* triggerDebugger = new TriggerDebugger(scriptEditor);
        triggerDebugger->setSession(session);
        scriptEditor->addInfoTab(triggerDebugger, QStringLiteral("Trigger Debugger"));
    }
    scriptEditor->showTab(tab);
    scriptEditor->show();
    scriptEditor->raise();
    scriptEditor->activateWindow();
}

void GameScreen::onKeyBindingsChanged(const QList<KeyBinding>& bindings)
{
    qDeleteAll(keyShortcuts);
    keyShortcuts.clear();
    for (const KeyBinding& binding : bindings) {
        const QKeySequence sequence(binding.keySequence);
        if (sequence.isEmpty())
            continue;
        auto* shortcut = new QShortcut(sequence, this);
        shortcut->setContext(Qt::WindowShortcut);
        const QString keyText = binding.keySequence;
        connect(shortcut, &QShortcut::activated, this,
                [this, keyText] { session->triggerKeyBinding(keyText); });
        keyShortcuts.append(shortcut);
    }
}

void GameScreen::updateOpponent()
{
    const QString name = session->getMsdpVariable(QStringLiteral("OPPONENT_NAME"));
    const qint64 health = readNumber(session->getMsdpVariable(QStringLiteral("OPPONENT_HEALTH")));
    const qint64 maximum = readNumber(session->getMsdpVariable(QStringLiteral("OPPONENT_HEALTH_MAX")));
    if (name.isEmpty() || name == QLatin1String("None")) {
        opponent->clearOpponent();
        return;
    }
    if (maximum < 1)
        return;
    opponent->updateOpponent(name, health, maximum);
    if (session->isFeatureEnabled(GameFeature::OpponentPanel))
        opponent->show();
}

void GameScreen::onMsdpUpdated(const QString& name, const QString& value)
{
    // Vitals: a maximum that is 0 or not a number means "not known yet".
    struct Vital {
        QLatin1String current;
        QLatin1String maximum;
        qint64 GameScreen::*value;
        qint64 GameScreen::*limit;
        void (VitalsWidget::*update)(qint64, qint64);
        QLabel* GameScreen::*statLabel;
    };
    static const Vital kVitals[] = {
        {QLatin1String("CHARACTER_POWERLEVEL"), QLatin1String("CHARACTER_POWERLEVEL_MAX"),
         &GameScreen::powerLevel, &GameScreen::powerLevelMax, &VitalsWidget::updatePL,
         &GameScreen::statPowerLevel},
        {QLatin1String("CHARACTER_KI"), QLatin1String("CHARACTER_KI_MAX"), &GameScreen::ki,
         &GameScreen::kiMax, &VitalsWidget::updateKi, &GameScreen::statKi},
        {QLatin1String("CHARACTER_FATIGUE"), QLatin1String("CHARACTER_FATIGUE_MAX"), &GameScreen::fatigue,
         &GameScreen::fatigueMax, &VitalsWidget::updateFatigue, &GameScreen::statFatigue},
    };
    for (const Vital& vital : kVitals) {
        if (name == vital.current) {
            this->*vital.value = readNumber(value);
        } else if (name == vital.maximum) {
            const qint64 maximum = readNumber(value);
            this->*vital.limit = maximum > 0 ? maximum : kUnknownMaximum;
        } else {
            continue;
        }
        (vitals->*vital.update)(this->*vital.value, this->*vital.limit);
        (this->*vital.statLabel)
            ->setText(QStringLiteral("%1/%2").arg(this->*vital.value).arg(this->*vital.limit));
        return;
    }

    const auto table = [&](const char* key) {
        return session->getMsdpVariable(QLatin1String(key));
    };
    if (name == QLatin1String("COMBO")) {
        comboLabel->setText(QStringLiteral("COMBO: %1").arg(value));
        if (session->isFeatureEnabled(GameFeature::ComboCounter))
            comboLabel->setVisible(readNumber(value) >= 1);
    } else if (name == QLatin1String("OPPONENT_NAME") || name == QLatin1String("OPPONENT_HEALTH") ||
               name == QLatin1String("OPPONENT_HEALTH_MAX")) {
        updateOpponent();
    } else if (name == QLatin1String("CHARACTER_NAME")) {
        statName->setText(value);
    } else if (name == QLatin1String("CHARACTER_RACE") || name == QLatin1String("CHARACTER_CLASS")) {
        statRaceClass->setText(table("CHARACTER_RACE") + QLatin1Char('/') + table("CHARACTER_CLASS"));
    } else if (name == QLatin1String("CHARACTER_LEVEL")) {
        statLevel->setText(value);
    } else if (name == QLatin1String("CHARACTER_RESISTANCE_PHYSICAL") ||
               name == QLatin1String("CHARACTER_RESISTANCE_MAGICAL")) {
        statResistances->setText(QStringLiteral("Phys: ") + table("CHARACTER_RESISTANCE_PHYSICAL") +
                                 QStringLiteral(", Mag: ") + table("CHARACTER_RESISTANCE_MAGICAL"));
    } else if (name == QLatin1String("CHARACTER_MAGICPOWER")) {
        statMagicPower->setText(value);
    } else if (name == QLatin1String("CHARACTER_AFFECTS")) {
        static const QRegularExpression separators(QStringLiteral("[:\\s]+"));
        affectsList->clear();
        affectsList->addItems(value.split(separators, Qt::SkipEmptyParts));
    } else if (name == QLatin1String("ROOM_NAME")) {
        roomName->setText(QStringLiteral("Room: ") + value);
    } else if (name == QLatin1String("ROOM_EXITS")) {
        roomExits->setText(QStringLiteral("Exits: ") + (value.isEmpty() ? QStringLiteral("none") : value));
    } else if (name == QLatin1String("ROOM_CHARACTERS")) {
        static const QRegularExpression separators(QStringLiteral("[,;\\s]+"));
        roomCharacters->clear();
        roomCharacters->addItems(value.split(separators, Qt::SkipEmptyParts));
    }
}
