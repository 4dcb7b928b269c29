#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QTabWidget>
#include <QTcpServer>
#include <QtTest>

#include "app/MainWindow.h"
#include "session/GameSession.h"
#include "session/SessionManager.h"
#include "storage/Storage.h"
#include "support/TestEnvironment.h"
#include "ui/CharacterDialog.h"
#include "ui/GameScreen.h"

class tst_MainWindow : public QObject {
    Q_OBJECT

private slots:
    void tabsFollowSessions();
    void charactersAreValidatedAndStored();
};

namespace {

// Answers the next message box with its default button and keeps "title|text".
void answerNextBox(QString& seen, int delayMs = 0)
{
    QTimer::singleShot(delayMs, [&seen] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            seen = box->windowTitle() + "|" + box->text();
            box->accept();
        }
    });
}

} // namespace

void tst_MainWindow::tabsFollowSessions()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    MainWindow window;
    QTabWidget* tabs = window.getTabs();
    const Character hero{"Hero", "", "127.0.0.1", server.serverPort(), ""};
    window.onConnectPressed(hero);
    window.onConnectPressed(hero); // the same character gets its open tab back
    QCOMPARE(tabs->count(), 2);
    window.onTabCloseRequested(0); // the character list never closes
    QCOMPARE(tabs->count(), 2);

    for (int i = 1; i < SessionManager::kMaxSessions; ++i)
        window.onConnectPressed(Character{QString("C%1").arg(i), "", "127.0.0.1", 1, ""});
    QCOMPARE(tabs->count(), 17);
    QString boxText;
    answerNextBox(boxText);
    window.onConnectPressed(Character{"Seventeenth", "", "127.0.0.1", 1, ""});
    QCOMPARE(boxText, "Error|Maximum sessions (16) reached");
    QCOMPARE(tabs->count(), 17);

    // The screen's Disconnect button closes its tab and its session.
    GameScreen* screen = window.getScreen(hero.key());
    QPointer<GameSession> session(screen->getSession());
    emit screen->disconnect();
    QCOMPARE(tabs->count(), 16);
    QTRY_VERIFY(!session);
    QCOMPARE(SessionManager::instance()->getAllSessions().size(), 15);
}

void tst_MainWindow::charactersAreValidatedAndStored()
{
    MainWindow window;
    auto fillDialog = [](const QStringList& values) {
        QTimer::singleShot(0, [values] {
            auto* dialog = qobject_cast<CharacterDialog*>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            const QList<QLineEdit*> fields = dialog->findChildren<QLineEdit*>();
            for (int i = 0; i < values.size() && i < fields.size(); ++i)
                fields[i]->setText(values[i]);
            dialog->accept();
        });
    };
    QString warning;
    fillDialog({"Ann", "mud.example", "0"});
    answerNextBox(warning, 50);
    window.onAddCharacter();
    QCOMPARE(warning, "Invalid|Please fill all fields");
    QVERIFY(Storage::instance()->getCharacters().isEmpty());

    fillDialog({"Ann", "mud.example", "4000"});
    window.onAddCharacter();
    QCOMPARE(Storage::instance()->getCharacters().size(), 1);
    const Character ann = Storage::instance()->getCharacters().first();
    QCOMPARE(ann.port, 4000);

    fillDialog({"Ann", "mud.example", "4001"});
    window.onEditCharacter(ann);
    QCOMPARE(Storage::instance()->getCharacters().first().port, 4001);

    QTimer::singleShot(0, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            QCOMPARE(box->text(), "Delete character 'Ann'?");
            box->button(QMessageBox::Yes)->click();
        }
    });
    window.onDeleteCharacter(Storage::instance()->getCharacters().first());
    QVERIFY(Storage::instance()->getCharacters().isEmpty());
}

OLVEX_TEST_MAIN(tst_MainWindow, QApplication)
#include "tst_MainWindow.moc"
