#pragma once

#include <QDialog>
#include <QList>

class QCheckBox;

// Switches the per-character features on and off, one check box each with a
// line saying what it does. Like the character dialog it only edits a copy:
// the caller stores the result and tells a live session.
class FeaturesDialog final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FeaturesDialog)

public:
    static constexpr int kFeatureCount = 13;

    explicit FeaturesDialog(QWidget* parent = nullptr);

    // Codes outside 0..kFeatureCount-1 are kept as they are, unseen.
    void setFeatures(const QString& characterName, const QList<int>& enabled);
    // The list given to setFeatures with unticked codes removed and newly
    // ticked ones appended, so the order stays the order of switching on.
    QList<int> getFeatures() const;

private:
    QList<QCheckBox*> boxes;
    QList<int> original;
};
