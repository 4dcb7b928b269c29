#pragma once

class QDialog;
class QDialogButtonBox;

// The OK and Cancel row every record dialog ends with.
namespace DialogButtons {

// Made as a child of dialog, OK accepting and Cancel rejecting it; the caller
// places it in its layout.
QDialogButtonBox* okCancel(QDialog* dialog);

} // namespace DialogButtons
