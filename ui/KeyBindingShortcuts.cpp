#include "ui/KeyBindingShortcuts.h"

#include <QShortcut>
#include <QWidget>

KeyBindingShortcuts::KeyBindingShortcuts(QWidget* screen, const QList<QShortcut*>& screenShortcuts)
    : QObject(screen)
    , screen(screen)
    , screenShortcuts(screenShortcuts)
{
}

void KeyBindingShortcuts::setBindings(const QList<KeyBinding>& bindings)
{
    qDeleteAll(shortcuts);
    shortcuts.clear();
    bound.clear();
    for (const KeyBinding& binding : bindings) {
        const QKeySequence sequence(binding.keySequence);
        if (sequence.isEmpty())
            continue;
        bound.append(sequence);
        auto* shortcut = new QShortcut(sequence, screen);
        shortcut->setContext(Qt::WindowShortcut);
        const QString keyText = binding.keySequence;
        connect(shortcut, &QShortcut::activated, this, [this, keyText] { emit activated(keyText); });
        shortcuts.append(shortcut);
    }
    for (QShortcut* own : std::as_const(screenShortcuts))
        own->setEnabled(!bound.contains(own->key()));
    emit boundKeysChanged();
}
