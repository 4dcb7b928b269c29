#include "ui/MsdpViewer.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "session/GameSession.h"
#include "ui/Theme.h"

MsdpViewer::MsdpViewer(QWidget* parent)
    : QWidget(parent)
{
    setupUi();
}

void MsdpViewer::setupUi()
{
    setStyleSheet(Theme::panelStyleSheet());
    auto* refresh = new QPushButton(QStringLiteral("Refresh"), this);
    connect(refresh, &QPushButton::clicked, this, &MsdpViewer::refreshMsdpTable);
    // Shown once the session's table turned an update away, so a player
    // missing a variable learns why.
    droppedLabel = new QLabel(this);
    droppedLabel->setWordWrap(true);
    droppedLabel->hide();
    auto* topRow = new QHBoxLayout;
    topRow->addWidget(droppedLabel, 1);
    topRow->addWidget(refresh);

    table = new QTableWidget(0, 2, this);
    table->setHorizontalHeaderLabels({QStringLiteral("Variable"), QStringLiteral("Value")});
    table->setColumnWidth(0, 250);
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->hide();
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setAccessibleName(tr("MSDP variables"));

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(topRow);
    layout->addWidget(table, 1);
}

void MsdpViewer::setSession(GameSession* newSession)
{
    if (session)
        disconnect(session, nullptr, this, nullptr);
    session = newSession;
    if (session)
        connect(session, &GameSession::msdpUpdated, this, &MsdpViewer::onMsdpUpdated);
    populateMsdpTable();
}

void MsdpViewer::refreshMsdpTable()
{
    populateMsdpTable();
}

void MsdpViewer::appendRow(const QString& name, const QString& value)
{
    const int row = table->rowCount();
    table->insertRow(row);
    table->setItem(row, 0, new QTableWidgetItem(name));
    table->setItem(row, 1, new QTableWidgetItem(value));
}

void MsdpViewer::populateMsdpTable()
{
    table->setRowCount(0);
    if (!session)
        return;
    // The session's map is ordered by name already: ascending, case-sensitive.
    const QMap<QString, QString> variables = session->getAllMsdpVariables();
    for (auto it = variables.cbegin(); it != variables.cend(); ++it)
        appendRow(it.key(), it.value());
    showDroppedCount();
}

void MsdpViewer::showDroppedCount()
{
    const int dropped = session ? session->droppedMsdpCount() : 0;
    droppedLabel->setVisible(dropped > 0);
    if (dropped > 0)
        droppedLabel->setText(tr("%1 update(s) not kept: the table holds %2 variables, names of up to %3 "
                                 "and values of up to %4 characters.")
                                  .arg(dropped)
                                  .arg(GameSession::kMaxMsdpVariables)
                                  .arg(GameSession::kMaxMsdpNameLength)
                                  .arg(GameSession::kMaxMsdpValueLength));
}

void MsdpViewer::onMsdpUpdated(const QString& name, const QString& value)
{
    showDroppedCount();
    for (int row = 0; row < table->rowCount(); ++row) {
        if (table->item(row, 0)->text() == name) {
            table->item(row, 1)->setText(value);
            return;
        }
    }
    appendRow(name, value);
    table->sortItems(0, Qt::AscendingOrder);
}
