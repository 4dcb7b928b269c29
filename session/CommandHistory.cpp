#include "session/CommandHistory.h"

#include "storage/Storage.h"

CommandHistory::CommandHistory(const QString& characterKey, Storage* store)
    : storage(store ? store : Storage::instance())
    , storageKey(Storage::characterEntryKey(Storage::kHistoryPrefix, characterKey))
    , history(storage->getStringList(storageKey))
{
    while (history.size() > kLimit)
        history.removeLast();
}

void CommandHistory::record(const QString& command)
{
    if (!command.isEmpty() && (history.isEmpty() || history.first() != command)) {
        history.prepend(command);
        if (history.size() > kLimit)
            history.removeLast();
    }
    index = -1;
    draft.clear();
    storage->putStringList(storageKey, history);
}

std::optional<QString> CommandHistory::older(const QString& currentInput)
{
    if (index == -1)
        draft = currentInput;
    if (index + 1 >= history.size())
        return std::nullopt;
    return history.at(++index);
}

std::optional<QString> CommandHistory::newer()
{
    if (index == -1)
        return std::nullopt;
    --index;
    return index == -1 ? draft : history.at(index);
}
