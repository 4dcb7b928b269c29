#include "app/Startup.h"

#include <QApplication>
#include <QFontDatabase>
#include <QStyleFactory>

#include "ui/Theme.h"

void Startup::prepareApplication(QApplication& app)
{
    QApplication::setApplicationName(QStringLiteral("Olvex Desktop Client"));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    app.setStyleSheet(Theme::applicationStyleSheet());

    const int fontId = QFontDatabase::addApplicationFont(QStringLiteral(":/fonts/DejaVuSansMono.ttf"));
    if (fontId < 0 || QFontDatabase::applicationFontFamilies(fontId).isEmpty())
        qWarning("The bundled monospaced font could not be loaded; using the system's.");
}
