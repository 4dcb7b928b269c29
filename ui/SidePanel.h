#pragma once

#include <QList>
#include <QWidget>

#include "session/CharacterStatus.h"

class ChannelPanel;
class GameSession;
class OpponentWidget;
class QLabel;
class QListWidget;
class QTabWidget;
class VitalsWidget;

// The column beside the output: vitals, opponent, combo counter and the tabs
// with channels, statistics, affects and room. It shows what CharacterStatus
// makes of the session's MSDP variables.
class SidePanel final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SidePanel)

public:
    SidePanel(GameSession* session, QWidget* parent);

    ChannelPanel* getChannelPanel() const { return channelPanel; }
    // The side tabs' bar, then what the tabs hold, in the order Tab visits them.
    QList<QWidget*> focusOrder() const;

public slots:
    void onMsdpUpdated(const QString& name, const QString& value);

private:
    QWidget* buildStatsTab();
    QWidget* buildAffectsTab();
    QWidget* buildRoomTab();
    void showOpponent();

    GameSession* session;
    CharacterStatus status;
    VitalsWidget* vitals = nullptr;
    OpponentWidget* opponent = nullptr;
    QLabel* comboLabel = nullptr;
    QTabWidget* sideTabs = nullptr;
    ChannelPanel* channelPanel = nullptr;
    QList<QLabel*> statLabels; // one per CharacterStatus::statRows() row
    QListWidget* affectsList = nullptr;
    QLabel* roomName = nullptr;
    QLabel* roomExits = nullptr;
    QListWidget* roomCharacters = nullptr;
};
