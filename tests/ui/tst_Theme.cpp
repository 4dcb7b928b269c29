#include <QtTest>

#include "support/TestEnvironment.h"
#include "ui/Theme.h"

// A style sheet that Qt cannot parse is dropped whole with only a warning, and
// a placeholder left unfilled silently loses its rule: both leave the client
// unstyled without failing anything else.
class tst_Theme : public QObject {
    Q_OBJECT

private slots:
    void sheetsAreFilledAndParse()
    {
        const QStringList sheets{Theme::applicationStyleSheet(), Theme::tabPaneStyleSheet(),
                                 Theme::panelStyleSheet(), Theme::connectScreenStyleSheet()};
        for (const QString& sheet : sheets)
            QVERIFY2(!sheet.contains(QRegularExpression("@\\w+@")), qPrintable(sheet));

        // Sheets are parsed when a widget using them is polished.
        QTest::failOnWarning(QRegularExpression("(?i)stylesheet|style sheet|parse"));
        qApp->setStyleSheet(sheets[0]);
        QWidget pane;
        pane.setStyleSheet(sheets[1]);
        (new QWidget(&pane))->setStyleSheet(sheets[2]);
        (new QWidget(&pane))->setStyleSheet(sheets[3]);
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
    }
};

OLVEX_TEST_MAIN(tst_Theme, QApplication)
#include "tst_Theme.moc"
