#pragma once

#include <QObject>

#include "storage/Character.h"

class QWidget;

// The File menu's profile export and import for one character: asks for the
// file, runs the package code and tells the player how it went. An import
// that would replace scripts or module files asks first.
class ProfileTransfer final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ProfileTransfer)

public:
    static constexpr QLatin1String kSuffix{".olvexprofile"};

    explicit ProfileTransfer(QWidget* window);

    void exportProfile(const Character& character);
    void importProfile(const Character& character);

private:
    QWidget* window;
};
