#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QtTest>

#include <memory>

#include "lua/LuaPackage.h"
#include "lua/LuaScriptTab.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

namespace {

// Answers the tab's questions from queues (empty: Cancel / No) and records
// every question and message as "title|text", so no modal loop ever runs.
class ScriptedTab final : public LuaScriptTab {
public:
    QStringList answers;
    QStringList asked;
    QStringList messages;

    QListWidget* list() const { return findChild<QListWidget*>(); }
    QPlainTextEdit* editor() const { return findChild<QPlainTextEdit*>(); }
    QString status() const { return findChild<QLabel*>()->text(); }
    void click(const QString& text)
    {
        for (QPushButton* button : findChildren<QPushButton*>())
            if (button->text() == text)
                button->click();
    }

protected:
    QString askText(const QString& title, const QString& label) override
    {
        asked << title + "|" + label;
        return answers.isEmpty() ? QString() : answers.takeFirst();
    }
    bool askYesNo(const QString& t, const QString& text) override { return askText(t, text) == "yes"; }
    QString askOpenFileName(const QString& t, const QString& filter) override { return askText(t, filter); }
    QString askSaveFileName(const QString& t, const QString& filter) override { return askText(t, filter); }
    void showMessage(QMessageBox::Icon, const QString& t, const QString& text) override
    {
        messages << t + "|" + text;
    }
};

} // namespace

class tst_LuaScriptTab : public QObject {
    Q_OBJECT

private slots:
    void init();
    void newModuleFollowsNameRules_data();
    void newModuleFollowsNameRules();
    void textStaysWithItsModule();
    void packagesImportNewModulesOnly();

private:
    QString file(const QString& name) const { return dir->filePath(name + ".lua"); }

    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<ScriptedTab> tab; // on modules a, b, c with their files in dir
};

void tst_LuaScriptTab::init()
{
    dir = std::make_unique<QTemporaryDir>();
    for (const QString name : {"a", "b", "c"})
        writeFile(file(name), "-- " + name.toUtf8() + "\n");
    tab = std::make_unique<ScriptedTab>();
    tab->setModules({{"a", true, 0}, {"b", false, 1}, {"c", true, 2}}, dir->path());
}

void tst_LuaScriptTab::newModuleFollowsNameRules_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("refusal");
    const QString invalid = "Invalid Name|Module name must start with letter or underscore, "
                            "contain only alphanumeric/underscore";
    QTest::newRow("leading digit") << "1abc" << invalid;
    QTest::newRow("duplicate") << "b" << QString("Duplicate|Module already exists");
    QTest::newRow("cancel") << "" << QString("");
    QTest::newRow("leading underscore") << "_a1" << QString();
    QTest::newRow("differs only in case") << "B" << QString();
}

void tst_LuaScriptTab::newModuleFollowsNameRules()
{
    QFETCH(QString, typed);
    QFETCH(QString, refusal);
    QSignalSpy changed(tab.get(), &LuaScriptTab::modulesChanged);
    tab->answers = {typed};
    tab->click("+");
    QCOMPARE(tab->asked, QStringList{"New Module|Module name:"});
    if (!refusal.isNull()) {
        QCOMPARE(tab->messages, refusal.isEmpty() ? QStringList() : QStringList{refusal});
        QCOMPARE(changed.count(), 0);
        QCOMPARE(QDir(dir->path()).entryList(QDir::Files), (QStringList{"a.lua", "b.lua", "c.lua"}));
        return;
    }
    QCOMPARE(readFile(file(typed)), "-- " + typed.toUtf8() + " module\n");
    QCOMPARE(changed.count(), 1);
    QCOMPARE(tab->getModules().mid(3), (QList<LuaModule>{{typed, true, 3}}));
    QCOMPARE(tab->list()->currentRow(), 3);
}

void tst_LuaScriptTab::textStaysWithItsModule()
{
    // Switching saves the module left, without asking.
    tab->list()->setCurrentRow(0);
    tab->editor()->setPlainText("-- a edited\n");
    QCOMPARE(tab->status(), QString("* a (unsaved)"));
    tab->list()->setCurrentRow(1);
    QCOMPARE(readFile(file("a")), QByteArray("-- a edited\n"));
    QCOMPARE(tab->asked, {});
    QCOMPARE(tab->status(), QString("b"));

    // Reload asks, then restores what the tab last read, not what changed on disk since.
    writeFile(file("b"), "-- changed elsewhere\n");
    tab->editor()->setPlainText("-- b draft\n");
    tab->click("Reload");
    QCOMPARE(tab->asked, QStringList{"Reload Module|Discard unsaved changes and reload from disk?"});
    QCOMPARE(tab->editor()->toPlainText(), QString("-- b draft\n"));
    tab->answers = {"yes"};
    tab->click("Reload");
    QCOMPARE(tab->editor()->toPlainText(), QString("-- b\n"));

    // Moving keeps the unsaved text with its module.
    QSignalSpy changed(tab.get(), &LuaScriptTab::modulesChanged);
    tab->editor()->setPlainText("-- b edited\n");
    tab->click(QString(QChar(0x2191)));
    tab->click(QString(QChar(0x2191))); // already first
    QCOMPARE(tab->getModules(), (QList<LuaModule>{{"b", false, 1}, {"a", true, 0}, {"c", true, 2}}));
    QCOMPARE(tab->list()->item(0)->text(), QString("* b"));
    QCOMPARE(changed.count(), 1);
    tab->list()->setCurrentRow(2);
    QCOMPARE(readFile(file("b")), QByteArray("-- b edited\n"));

    // Delete asks first and takes the file with it.
    tab->asked.clear();
    tab->editor()->setPlainText("-- unsaved c\n");
    tab->click("-");
    QCOMPARE(tab->asked, QStringList{"Delete Module|Delete module 'c'?"});
    QVERIFY(QFile::exists(file("c")));
    tab->answers = {"yes"};
    tab->click("-");
    QVERIFY(!QFile::exists(file("c")));
    QCOMPARE(changed.count(), 2);
    QCOMPARE(tab->list()->count(), 2);
    QCOMPARE(tab->status(), QString("No module selected"));

    tab->list()->setCurrentRow(1);
    tab->editor()->setPlainText("-- a saved\n");
    tab->click("Save");
    QCOMPARE(readFile(file("a")), QByteArray("-- a saved\n"));
}

void tst_LuaScriptTab::packagesImportNewModulesOnly()
{
    ScriptedTab empty;
    empty.click("Export Package");
    QCOMPARE(empty.messages, QStringList{"Export Failed|No modules to export"});
    QCOMPARE(empty.asked, {});

    tab->list()->setCurrentRow(1);
    tab->editor()->setPlainText("-- b unsaved\n");
    QTemporaryDir other;
    const QString archive = other.filePath("pack.olvexscripts");
    tab->answers = {other.filePath("pack")};
    tab->click("Export Package");
    QCOMPARE(tab->messages, QStringList{"Export Successful|Exported to " + archive});
    QCOMPARE(readFile(file("b")), QByteArray("-- b unsaved\n"));
    QCOMPARE(tab->list()->currentRow(), 2);

    QSignalSpy changed(tab.get(), &LuaScriptTab::modulesChanged);
    writeFile(other.filePath("z.lua"), "-- z\n");
    const LuaPackage::Metadata metadata{"1", "", "", "", "", {{"a", true, 0}, {"z", false, 7}}};
    QString error;
    QVERIFY(LuaPackage::exportPackage(other.path(), {{"z", true, 0}}, metadata, archive, error));
    writeFile(file("a"), "-- mine\n");
    tab->messages.clear();
    tab->answers = {archive};
    tab->click("Import Package");
    // By default the count is the package's, "a" (already there) included.
    QCOMPARE(tab->messages, QStringList{"Import Successful|Imported 2 module(s)"});
    QCOMPARE(changed.count(), 1);
    QCOMPARE(tab->getModules().size(), 4);
    QCOMPARE(tab->getModules().last(), (LuaModule{"z", false, 7}));
    QCOMPARE(readFile(file("a")), QByteArray("-- mine\n"));
    QCOMPARE(readFile(file("z")), QByteArray("-- z\n"));

    // Counting only what came in, a package of modules all present brings 0.
    tab->setCountsOnlyImported(true);
    QSignalSpy code(tab.get(), &LuaScriptTab::moduleCodeChanged);
    tab->messages.clear();
    tab->answers = {archive};
    tab->click("Import Package");
    QCOMPARE(tab->messages, QStringList{"Import Successful|Imported 0 module(s)"});
    QCOMPARE(changed.count(), 1);
    QCOMPARE(code.count(), 0);
}

OLVEX_TEST_MAIN(tst_LuaScriptTab, QApplication)
#include "tst_LuaScriptTab.moc"
