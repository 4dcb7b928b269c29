#include "ui/GameToolbar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "ui/Theme.h"

GameToolbar::GameToolbar(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("gameToolbar"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);

    statusLabel = new QLabel(QStringLiteral("Disconnected"), this);
    statusLabel->setStyleSheet(Theme::statusLabelStyleSheet());
    row->addWidget(statusLabel);

    // "Keys" asks for the key bindings; an editor that does not show them
    // (the client's conveniences off) opens its quick actions page instead.
    const QList<QPair<QString, QString>> scriptButtons = {
        {QStringLiteral("Variables"), QStringLiteral("Variables")},
        {QStringLiteral("Aliases"), QStringLiteral("Aliases")},
        {QStringLiteral("Triggers"), QStringLiteral("Triggers")},
        {QStringLiteral("Timers"), QStringLiteral("Timers")},
        {QStringLiteral("Keys"), QStringLiteral("Key Bindings")},
        {QStringLiteral("Lua"), QStringLiteral("Lua Scripts")},
    };
    for (const auto& [label, tab] : scriptButtons) {
        QPushButton* button = addButton(label);
        row->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, tab = tab] { emit scriptEditorRequested(tab); });
    }

    pausedLabel = new QLabel(QStringLiteral("⏸ PAUSED"), this);
    pausedLabel->setStyleSheet(Theme::pausedLabelStyleSheet());
    pausedLabel->hide();
    row->addWidget(pausedLabel);
    row->addStretch(1);

    reconnectButton = addButton(QStringLiteral("Reconnect"));
    reconnectButton->setToolTip(tr("Connect this session again (Ctrl+R)"));
    reconnectButton->hide();
    QPushButton* settingsButton = addButton(QStringLiteral("Settings"));
    QPushButton* profilesButton = addButton(QStringLiteral("Profiles"));
    QPushButton* disconnectButton = addButton(QStringLiteral("Disconnect"));
    for (QPushButton* button : {reconnectButton, settingsButton, profilesButton, disconnectButton})
        row->addWidget(button);

    connect(reconnectButton, &QPushButton::clicked, this, &GameToolbar::reconnectRequested);
    connect(settingsButton, &QPushButton::clicked, this, &GameToolbar::settingsRequested);
    connect(profilesButton, &QPushButton::clicked, this, &GameToolbar::profilesRequested);
    connect(disconnectButton, &QPushButton::clicked, this, &GameToolbar::disconnectRequested);
}

QPushButton* GameToolbar::addButton(const QString& text)
{
    auto* button = new QPushButton(text, this);
    // Reached with Tab, but a click leaves the focus in the input line.
    button->setFocusPolicy(Qt::TabFocus);
    button->setAutoDefault(false);
    buttons.append(button);
    return button;
}

void GameToolbar::setConnected(bool connected)
{
    statusLabel->setText(connected ? QStringLiteral("Connected") : QStringLiteral("Disconnected"));
    if (connected)
        offerReconnect(false);
}

void GameToolbar::offerReconnect(bool offered)
{
    reconnectButton->setVisible(offered);
}

void GameToolbar::setPaused(bool paused)
{
    pausedLabel->setVisible(paused);
}

bool GameToolbar::isReconnectOffered() const
{
    return !reconnectButton->isHidden();
}
