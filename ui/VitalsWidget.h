#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QProgressBar;

// The character's power level, ki and fatigue as percentage bars whose
// captions carry the exact numbers. Passive: the game screen feeds it.
class VitalsWidget final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VitalsWidget)

public:
    explicit VitalsWidget(QWidget* parent = nullptr);

    void updatePL(qint64 current, qint64 max);
    void updateKi(qint64 current, qint64 max);
    void updateFatigue(qint64 current, qint64 max);

    // Share of max that current is, truncated: 100 when current exceeds max,
    // negative for a negative current, 0 when max is not above 0.
    static int percentOf(qint64 current, qint64 max);

private:
    static void updateRow(QProgressBar* bar, QLabel* caption, const QString& format, qint64 current,
                          qint64 max);

    QProgressBar* plBar = nullptr;
    QProgressBar* kiBar = nullptr;
    QProgressBar* fatigueBar = nullptr;
    QLabel* plLabel = nullptr;
    QLabel* kiLabel = nullptr;
    QLabel* fatigueLabel = nullptr;
};
