#pragma once

#include <QKeySequence>
#include <QList>
#include <QObject>

#include "storage/Scripts.h"

class QShortcut;
class QWidget;

// A session's key bindings as shortcuts on its screen. Two shortcuts on one
// key cancel each other out, so while the player binds a key the screen's own
// shortcut on it is switched off: the player's binding is what was asked for.
class KeyBindingShortcuts final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(KeyBindingShortcuts)

public:
    // `screenShortcuts` belong to `screen`; they are switched, never deleted.
    KeyBindingShortcuts(QWidget* screen, const QList<QShortcut*>& screenShortcuts);

    void setBindings(const QList<KeyBinding>& bindings);
    const QList<QKeySequence>& boundKeys() const { return bound; }

signals:
    // A bound key was pressed; the text is the binding's own key sequence.
    void activated(const QString& keySequence);
    void boundKeysChanged();

private:
    QWidget* screen;
    QList<QShortcut*> screenShortcuts;
    QList<QShortcut*> shortcuts;
    QList<QKeySequence> bound;
};
