#pragma once

#include <QList>
#include <QWidget>

#include <optional>

#include "storage/Character.h"

class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// The first screen: saved characters grouped by server. It only asks; the
// main window edits the stored list and starts sessions.
class ConnectScreen final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectScreen)

public:
    explicit ConnectScreen(QWidget* parent = nullptr);

    QList<Character> getCharacters() const;
    // The character on the current row, if a character row is current.
    std::optional<Character> currentCharacter() const;

signals:
    // Named for the request it makes; inside this class QObject::connect must
    // therefore be spelled out in full.
    void connect(const Character& character);
    void addCharacter();
    void editCharacter(const Character& character);
    void deleteCharacter(const Character& character);
    void editFeatures(const Character& character);

public slots:
    void loadCharacters();
    void onAddClicked();
    void onEditClicked();
    void onDeleteClicked();
    void onConnectClicked();
    void onFeaturesClicked();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setupUi();
    QWidget* buildHeader();
    // The "Available Characters" label, returned, and the tree it names.
    QLabel* buildCharacterList();
    void buildButtons();
    // One group row for a server with a row per character on it; records
    // each row under the character's stored index.
    void addHostGroup(const QString& host, const QList<Character>& characters, const QList<int>& indexes,
                      QList<QTreeWidgetItem*>& rowOfStoredIndex);
    void moveToCharacterRow(bool down);
    void onCurrentItemChanged();

    QTreeWidget* tree = nullptr;
    QPushButton* addButton = nullptr;
    QPushButton* editButton = nullptr;
    QPushButton* deleteButton = nullptr;
    QPushButton* featuresButton = nullptr;
    QPushButton* connectButton = nullptr;
};
