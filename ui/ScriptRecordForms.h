#pragma once

#include "storage/Scripts.h"

class QWidget;

// Opens the modal form that edits one kind of script record and writes the
// result into it; false (record untouched) when the player cancels.
// `conveniences` lets the trigger form set the highlight and its colour.
namespace ScriptRecordForms {

bool edit(QWidget* parent, Alias& alias, bool conveniences);
bool edit(QWidget* parent, Trigger& trigger, bool conveniences);
bool edit(QWidget* parent, Timer& timer, bool conveniences);
bool edit(QWidget* parent, Variable& variable, bool conveniences);
bool edit(QWidget* parent, QuickAction& action, bool conveniences);
bool edit(QWidget* parent, KeyBinding& binding, bool conveniences);

// A new record: filled in through its form, except a quick action, which is
// added as "New Action" and renamed afterwards.
template <typename Record> bool create(QWidget* parent, Record& record, bool conveniences)
{
    return edit(parent, record, conveniences);
}
bool create(QWidget* parent, QuickAction& action, bool conveniences);

} // namespace ScriptRecordForms
