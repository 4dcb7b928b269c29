#include <QApplication>

#include "app/MainWindow.h"
#include "app/Startup.h"

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    Startup::prepareApplication(app);
    MainWindow window;
    window.show();
    return app.exec();
}
