#pragma once

#include <QList>
#include <QWidget>

class QLabel;
class QPushButton;

// The row above a session's output: connection status, the script editor
// buttons, the "paused" mark, Reconnect (while disconnected), Settings,
// Profiles and Disconnect. It only reports presses; the screen acts.
class GameToolbar final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GameToolbar)

public:
    explicit GameToolbar(QWidget* parent);

    void setConnected(bool connected);
    // Offers Reconnect; hidden again by setConnected(true) or a press.
    void offerReconnect(bool offered);
    void setPaused(bool paused);
    bool isReconnectOffered() const;
    // The buttons, left to right, for the screen's Tab order.
    QList<QWidget*> focusOrder() const { return buttons; }

signals:
    // A script button: the name of the editor tab to open.
    void scriptEditorRequested(const QString& tab);
    void reconnectRequested();
    void settingsRequested();
    void profilesRequested();
    void disconnectRequested();

private:
    QPushButton* addButton(const QString& text);

    QLabel* statusLabel = nullptr;
    QLabel* pausedLabel = nullptr;
    QPushButton* reconnectButton = nullptr;
    QList<QWidget*> buttons;
};
