#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class Storage;

// The commands a player typed for one character, newest first, kept in the
// settings so they survive a restart, and browsed with Up and Down. Browsing
// remembers the unfinished line and gives it back past the newest entry.
class CommandHistory final {
public:
    static constexpr int kLimit = 200;

    // `storage` null means Storage::instance().
    explicit CommandHistory(const QString& characterKey, Storage* storage = nullptr);

    // After a command was sent: stores it unless empty or equal to the
    // newest entry, ends browsing and saves.
    void record(const QString& command);
    // The text to show for Up (older) or Down (newer); nothing when there is
    // nowhere further to go.
    std::optional<QString> older(const QString& currentInput);
    std::optional<QString> newer();

    QStringList entries() const { return history; }

private:
    Storage* storage;
    QString storageKey;
    QStringList history;
    int index = -1;
    QString draft;
};
