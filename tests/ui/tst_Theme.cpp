#include <QRegularExpression>
#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/ChannelPanel.h"
#include "ui/ConnectScreen.h"
#include "ui/HelpDialog.h"
#include "ui/OpponentWidget.h"
#include "ui/SettingsDialog.h"
#include "ui/Theme.h"
#include "ui/VitalsWidget.h"

// A style sheet that Qt cannot parse is dropped whole with only a warning, and
// a placeholder left unfilled silently loses its rule: both leave the client
// unstyled without failing anything else.
class tst_Theme : public QObject {
    Q_OBJECT

private slots:
    void sheetsAreFilledAndParse()
    {
        for (const QString& sheet :
             {Theme::applicationStyleSheet(), Theme::tabPaneStyleSheet(), Theme::panelStyleSheet()})
            QVERIFY2(!sheet.contains(QRegularExpression("@\\w+@")), qPrintable(sheet));

        QTest::failOnWarning(QRegularExpression("(?i)stylesheet|style sheet|parse"));
        qApp->setStyleSheet(Theme::applicationStyleSheet());
        QWidget window;
        window.setStyleSheet(Theme::tabPaneStyleSheet());
        new ConnectScreen(&window);
        new ChannelPanel(&window);
        new VitalsWidget(&window);
        new OpponentWidget(&window);
        SettingsDialog settings(&window);
        HelpDialog help(&window);
        window.show();
        settings.show();
        help.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCoreApplication::processEvents();
    }
};

OLVEX_TEST_MAIN(tst_Theme, QApplication)
#include "tst_Theme.moc"
