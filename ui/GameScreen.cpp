#include "ui/GameScreen.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QTextBlock>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "storage/Storage.h"
#include "terminal/AnsiParser.h"
#include "terminal/TerminalSize.h"
#include "terminal/TerminalWidget.h"
#include "ui/ChannelPanel.h"
#include "ui/ClientLines.h"
#include "ui/CommandInput.h"
#include "ui/FindBar.h"
#include "ui/GameToolbar.h"
#include "ui/KeyBindingShortcuts.h"
#include "ui/MsdpViewer.h"
#include "ui/ScriptEditor.h"
#include "ui/SettingsDialog.h"
#include "ui/SidePanel.h"
#include "ui/Theme.h"
#include "ui/TriggerDebugger.h"

namespace {

const QString kFontSizeKey = QStringLiteral("terminal_font_size");

} // namespace

GameScreen::GameScreen(GameSession* session, QWidget* parent)
    : QWidget(parent)
    , session(session)
    , history(session->getCharacter().key())
{
    setupUi();
    wireSignals();
    session->getScriptEngine()->setTypedRepeatEnabled(
        SettingsDialog::storedRepeatMode(session->getCharacter()));
    startConnecting();
}

GameScreen::~GameScreen()
{
    delete scriptEditor; // a top-level window, not a child of the screen
}

void GameScreen::setupUi()
{
    setObjectName(QStringLiteral("gameScreen"));

    terminal = new TerminalWidget(this);
    terminal->setFontFamily(Theme::kMonospaceFamily);
    // The size the player last chose; setFontSize ignores a stored size out of range.
    terminal->setFontSize(Storage::instance()->getInt(kFontSizeKey, Theme::kDefaultFontSize));
    terminal->setAccessibleName(tr("Game output"));
    terminal->installEventFilter(this);
    terminal->viewport()->installEventFilter(this); // its resizes change the size told to the server

    input = new CommandInput(this);
    input->setPlaceholderText(QStringLiteral("Enter command..."));
    input->setFont(QFont(Theme::kMonospaceFamily, Theme::kInputFontSize));
    input->setAccessibleName(tr("Command input"));
    input->setHistory(&history);
    sendButton = new QPushButton(QStringLiteral("Send"), this);
    sendButton->setAutoDefault(false);
    // Return sends already; a Send button in the Tab walk would turn the next
    // space typed into a press that sends a half-typed line.
    sendButton->setFocusPolicy(Qt::NoFocus);

    auto* inputRow = new QHBoxLayout;
    inputRow->setSpacing(6);
    inputRow->addWidget(input, 1);
    inputRow->addWidget(sendButton);

    auto* left = new QWidget(this);
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->setSpacing(6);
    toolbar = new GameToolbar(left);
    leftLayout->addWidget(toolbar);
    leftLayout->addWidget(terminal, 1);
    findBar = new FindBar(terminal, left);
    leftLayout->addWidget(findBar);
    leftLayout->addLayout(inputRow);

    auto* splitter = new QSplitter(Qt::Horizontal, this);
    splitter->addWidget(left);
    sidePanel = new SidePanel(session, splitter);
    channelPanel = sidePanel->getChannelPanel();
    splitter->addWidget(sidePanel);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({900, 360});
    splitter->setChildrenCollapsible(false);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(splitter);

    setupFocusChain();
    addScreenShortcuts();
}

// One Tab cycle through every control: input line, output, side tabs,
// toolbar, find bar. Shift+Tab walks the same chain backwards. Tab from the
// input line lands on the output, where typing still goes to the input line.
void GameScreen::setupFocusChain()
{
    terminal->setFocusPolicy(Qt::StrongFocus);
    terminal->setTabChangesFocus(true);
    const QList<QWidget*> chain = QList<QWidget*>{input, terminal} + sidePanel->focusOrder() +
                                  toolbar->focusOrder() + findBar->focusOrder();
    for (qsizetype i = 1; i < chain.size(); ++i)
        setTabOrder(chain.at(i - 1), chain.at(i));
}

void GameScreen::focusInEvent(QFocusEvent* event)
{
    // Focus given to the screen (a tab switch) goes to the input line. Not a
    // focus proxy: the Tab walk would stop at the screen and jump to the line.
    QWidget::focusInEvent(event);
    input->setFocus(event->reason());
}

void GameScreen::addScreenShortcuts()
{
    auto* findShortcut = new QShortcut(QKeySequence::Find, this);
    findShortcut->setContext(Qt::WindowShortcut);
    connect(findShortcut, &QShortcut::activated, findBar, &FindBar::open);
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    escape->setContext(Qt::WindowShortcut);
    connect(escape, &QShortcut::activated, this, [this] {
        if (findBar->isVisible())
            findBar->dismiss();
    });
    auto* clear = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_K), this);
    clear->setContext(Qt::WindowShortcut);
    connect(clear, &QShortcut::activated, terminal, &TerminalWidget::clearTerminal);
    auto* reconnectShortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_R), this);
    reconnectShortcut->setContext(Qt::WindowShortcut);
    connect(reconnectShortcut, &QShortcut::activated, this, &GameScreen::reconnect);
    keyShortcuts = new KeyBindingShortcuts(this, {findShortcut, escape, clear, reconnectShortcut});
    connect(keyShortcuts, &KeyBindingShortcuts::activated, session, &GameSession::triggerKeyBinding);
    connect(keyShortcuts, &KeyBindingShortcuts::boundKeysChanged, this, &GameScreen::boundKeysChanged);
}

void GameScreen::wireSignals()
{
    connect(session, &GameSession::connected, this, &GameScreen::onSessionConnected);
    connect(session, &GameSession::disconnected, this, &GameScreen::onSessionDisconnected);
    connect(session, &GameSession::textReceived, this, &GameScreen::onSessionTextReceived);
    connect(session, &GameSession::msdpUpdated, sidePanel, &SidePanel::onMsdpUpdated);
    connect(session, &GameSession::channelMessage, this, &GameScreen::onChannelMessage);
    connect(session, &GameSession::keyBindingsChanged, this, &GameScreen::onKeyBindingsChanged);
    connect(session, &GameSession::connectionError, this, &GameScreen::onConnectionError);
    connect(session, &GameSession::commandNotSent, this, &GameScreen::onCommandNotSent);
    connect(session, &GameSession::serverEchoChanged, this, &GameScreen::onServerEchoChanged);
    connect(session, &GameSession::featuresChanged, this, &GameScreen::applyFeatures);
    connectWait = new QTimer(this);
    connectWait->setSingleShot(true);
    connectWait->setInterval(kConnectWaitMs);
    connect(connectWait, &QTimer::timeout, this, &GameScreen::onConnectWaitExpired);
    // The attempt ended (refused, not found); no "still trying" after that.
    connect(session, &GameSession::connectionError, connectWait, &QTimer::stop);
    connect(terminal, &TerminalWidget::frozenChanged, this, &GameScreen::onTerminalFrozenChanged);
    connect(terminal, &TerminalWidget::fontSizeChanged, this, &GameScreen::onTerminalFontSizeChanged);
    connect(findBar, &FindBar::closed, input, qOverload<>(&QWidget::setFocus));
    connect(input, &CommandInput::submitted, this, &GameScreen::onCommandEntered);
    connect(input, &CommandInput::pageRequested, this, &GameScreen::onPageRequested);
    connect(input, &CommandInput::completionRequested, this, &GameScreen::onCompletionRequested);
    connect(sendButton, &QPushButton::clicked, this, &GameScreen::onInputSubmitted);
    connect(toolbar, &GameToolbar::scriptEditorRequested, this, &GameScreen::openScriptEditor);
    connect(toolbar, &GameToolbar::reconnectRequested, this, &GameScreen::reconnect);
    connect(toolbar, &GameToolbar::settingsRequested, this, &GameScreen::openSettings);
    connect(toolbar, &GameToolbar::profilesRequested, this, &GameScreen::profiles);
    connect(toolbar, &GameToolbar::disconnectRequested, this, &GameScreen::disconnect);
    ScriptEngine* engine = session->getScriptEngine();
    connect(engine, &ScriptEngine::luaError, this, &GameScreen::onLuaError);
    connect(engine, &ScriptEngine::echoText, this, &GameScreen::onEchoText);
    // Announced just before the coloured line is handed on.
    connect(session, &GameSession::lineHighlighted, this, [this] { highlightPending = true; });

    // The session announced its bindings before this screen existed.
    onKeyBindingsChanged(session->getScriptEngine()->scripts().keyBindings);
    applyFeatures();
}

void GameScreen::applyFeatures()
{
    // Standard telnet shows a prompt before its line is complete; the rest of
    // the line then completes the same terminal line.
    terminal->setLinesStayOpen(session->isFeatureEnabled(GameFeature::StandardTelnet));
    terminal->setLinksEnabled(conveniencesEnabled());
}

void GameScreen::tellWindowSize()
{
    const int margins = 2 * int(terminal->document()->documentMargin());
    const QSize size =
        TerminalSize::inCharacters(terminal->font(), terminal->viewport()->size() - QSize(margins, margins),
                                   terminal->document()->lastBlock().blockFormat());
    session->setWindowSize(size.width(), size.height());
}

void GameScreen::startConnecting()
{
    tellWindowSize();
    connectWait->start();
    session->connect();
}

void GameScreen::onConnectWaitExpired()
{
    // The system gives up on a silent host only after about two minutes. The
    // attempt goes on, but the player learns now and may start it again.
    if (session->isConnected())
        return;
    onConnectionError(
        tr("no answer after %1 s, still trying (Ctrl+R tries again)").arg(kConnectWaitMs / 1000));
}

const QList<QKeySequence>& GameScreen::boundKeys() const
{
    return keyShortcuts->boundKeys();
}

void GameScreen::onSessionConnected()
{
    connectWait->stop();
    scriptNoticeShown = false;
    terminal->appendClientLine(ClientLines::connected());
    toolbar->setConnected(true);
    emit connectionStateChanged(true);
}

void GameScreen::onSessionDisconnected()
{
    terminal->appendClientLine(ClientLines::disconnected());
    toolbar->setConnected(false);
    toolbar->offerReconnect(true);
    onServerEchoChanged(false); // a password prompt ends with its link
    emit connectionStateChanged(false);
}

void GameScreen::onConnectionError(const QString& message)
{
    const Character& character = session->getCharacter();
    terminal->appendClientLine(ClientLines::connectionError(character.host, character.port, message));
    if (!session->isConnected())
        toolbar->offerReconnect(true);
}

void GameScreen::onCommandNotSent(const QString& command)
{
    // A timer firing offline would otherwise write a line every few seconds.
    bool& shown = typingCommand ? typedNoticeShown : scriptNoticeShown;
    if (!std::exchange(shown, true))
        terminal->appendClientLine(ClientLines::commandNotSent(command));
}

void GameScreen::onServerEchoChanged(bool serverEchoes)
{
    // The server shows (or hides) what is typed: a password. It is masked
    // here and kept out of the output and the history.
    secretInput = serverEchoes;
    input->setEchoMode(serverEchoes ? QLineEdit::Password : QLineEdit::Normal);
}

void GameScreen::onTerminalFontSizeChanged(int size)
{
    Storage::instance()->putInt(kFontSizeKey, size);
    tellWindowSize();
}

void GameScreen::onSessionTextReceived(const QString& text)
{
    terminal->appendAnsiText(text);
    if (text.isEmpty())
        return;
    if (conveniencesEnabled())
        completer.addText(text);
    const bool highlighted = std::exchange(highlightPending, false);
    emit outputArrived(highlighted);
}

void GameScreen::onChannelMessage(const QString& channel, const QString& text)
{
    // A list item cannot show colours, and raw escape codes are unreadable.
    channelPanel->addMessage(channel, AnsiParser::plainText(text).trimmed());
}

void GameScreen::onTerminalFrozenChanged(bool frozen)
{
    toolbar->setPaused(frozen);
}

void GameScreen::reconnect()
{
    // Nothing to do while the link is up; the same session connects again,
    // so scrollback, MSDP values, variables and features stay.
    if (session->isConnected())
        return;
    toolbar->offerReconnect(false);
    startConnecting();
}

void GameScreen::onInputSubmitted()
{
    input->submit();
}

void GameScreen::onCommandEntered(const QString& line)
{
    // A line typed while the server echoes (a password) is neither shown nor kept.
    const bool secret = secretInput;
    // Shown as typed, in a colour of its own, and never seen by the triggers.
    if (!secret && conveniencesEnabled() && SettingsDialog::storedEchoInput(session->getCharacter()))
        terminal->appendClientLine(ClientLines::commandEcho(line), true);
    typedNoticeShown = false;
    typingCommand = true;
    // An empty line is a real command to the game (it often redraws the prompt).
    session->sendCommand(line);
    typingCommand = false;
    if (!secret)
        history.record(line);
}

void GameScreen::onCompletionRequested()
{
    if (!conveniencesEnabled())
        return;
    if (const auto completion = completer.complete(input->text(), input->cursorPosition())) {
        input->setText(completion->line);
        input->setCursorPosition(completion->cursor);
    }
}

void GameScreen::onLuaError(const QString& message)
{
    if (conveniencesEnabled())
        terminal->appendClientLine(ClientLines::luaError(message));
}

void GameScreen::onEchoText(const QString& text)
{
    if (conveniencesEnabled())
        terminal->appendClientLine(ClientLines::scriptEcho(text));
}

bool GameScreen::conveniencesEnabled() const
{
    return session->isFeatureEnabled(GameFeature::ClientConveniences);
}

void GameScreen::onPageRequested(bool up)
{
    terminal->verticalScrollBar()->triggerAction(up ? QAbstractSlider::SliderPageStepSub
                                                    : QAbstractSlider::SliderPageStepAdd);
}

bool GameScreen::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == terminal->viewport() && event->type() == QEvent::Resize)
        tellWindowSize();
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);

    if (watched == terminal) {
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

void GameScreen::openSettings()
{
    SettingsDialog dialog(this);
    if (conveniencesEnabled())
        dialog.showCurrent(session->getCharacter(), terminal->getFontSize());
    connect(&dialog, &SettingsDialog::fontSizeChanged, terminal, &TerminalWidget::setFontSize);
    if (dialog.exec() != QDialog::Accepted)
        return;
    terminal->setFontSize(dialog.getFontSize());
    session->getScriptEngine()->setTypedRepeatEnabled(
        SettingsDialog::storedRepeatMode(session->getCharacter()));
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
    keyShortcuts->setBindings(bindings);
}
