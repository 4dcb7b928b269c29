#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QProgressBar;

// The current combat opponent: name, health bar and health numbers.
class OpponentWidget final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OpponentWidget)

public:
    explicit OpponentWidget(QWidget* parent = nullptr);

    void updateOpponent(const QString& name, qint64 current, qint64 max);
    void clearOpponent();

private:
    QLabel* nameLabel = nullptr;
    QProgressBar* healthBar = nullptr;
    QLabel* healthLabel = nullptr;
};
