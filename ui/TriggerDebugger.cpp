#include "ui/TriggerDebugger.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "script/ScriptEngine.h"
#include "session/GameSession.h"
#include "ui/Theme.h"

TriggerDebugger::TriggerDebugger(QWidget* parent)
    : QWidget(parent)
{
    setupUi();
}

void TriggerDebugger::setupUi()
{
    setStyleSheet(Theme::panelStyleSheet());
    auto* clear = new QPushButton(QStringLiteral("Clear"), this);
    connect(clear, &QPushButton::clicked, this, &TriggerDebugger::onClearDebugLog);
    auto* topRow = new QHBoxLayout;
    topRow->addStretch(1);
    topRow->addWidget(clear);

    log = new QListWidget(this);
    log->setAccessibleName(tr("Fired triggers"));
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(topRow);
    layout->addWidget(log, 1);
}

void TriggerDebugger::setSession(GameSession* newSession)
{
    if (session) {
        if (auto* engine = session->findChild<ScriptEngine*>())
            disconnect(engine, nullptr, this, nullptr);
    }
    session = newSession;
    if (!session)
        return;
    if (auto* engine = session->findChild<ScriptEngine*>()) {
        connect(engine, &ScriptEngine::triggerFired, this, &TriggerDebugger::onTriggerFired);
        connect(engine, &ScriptEngine::luaError, this, &TriggerDebugger::onLuaError);
    }
}

void TriggerDebugger::onTriggerFired(const QString& pattern, const QString& matchedText, const QString&)
{
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("hh:mm:ss"));
    // Filled in one pass so a "%1" inside the pattern or the text stays literal.
    const QString line = QStringLiteral("[%1] Trigger: %2 | Matched: \"%3\"")
                             .arg(time, pattern, matchedText.left(kMatchPreviewLength));
    log->addItem(line);
    log->scrollToBottom();
}

void TriggerDebugger::onLuaError(const QString& message)
{
    // A trigger's "lua:" call that failed is half of why it did not work.
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("hh:mm:ss"));
    log->addItem(QStringLiteral("[%1] Lua error: %2").arg(time, message));
    log->scrollToBottom();
}

void TriggerDebugger::onClearDebugLog()
{
    log->clear();
}
