#pragma once

#include <QPointer>
#include <QWidget>

class GameSession;
class QLabel;
class QTableWidget;

// Every MSDP variable the attached session has received, kept current.
class MsdpViewer : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MsdpViewer)

public:
    explicit MsdpViewer(QWidget* parent = nullptr);

    void setSession(GameSession* session);
    QTableWidget* getTable() const { return table; }
    QLabel* getDroppedLabel() const { return droppedLabel; }

public slots:
    void refreshMsdpTable();
    void populateMsdpTable();
    void onMsdpUpdated(const QString& name, const QString& value);

private:
    void setupUi();
    void appendRow(const QString& name, const QString& value);
    void showDroppedCount();

    QPointer<GameSession> session;
    QTableWidget* table = nullptr;
    QLabel* droppedLabel = nullptr;
};
