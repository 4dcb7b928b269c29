#include <QtTest>

#include "lua/LuaPackage.h"
#include "support/PackageTempRoot.h"
#include "support/TestEnvironment.h"

namespace {

QList<LuaModule> modules(const QStringList& names)
{
    QList<LuaModule> result;
    for (const QString& name : names)
        result.append({name, result.size() % 2 == 0, int(result.size())});
    return result;
}

} // namespace

class tst_LuaPackage : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void exportAndImportThroughZip();
    void refusesHostilePackages_data();
    void refusesHostilePackages();

private:
    QString path(const QString& name) const { return tempRoot.filePath(name); }

    PackageTempRoot tempRoot;
};

void tst_LuaPackage::initTestCase()
{
    QVERIFY(tempRoot.isValid());
}

void tst_LuaPackage::cleanup()
{
    QCOMPARE(tempRoot.leftovers(), {});
    QVERIFY(QDir(path("to")).removeRecursively());
}

void tst_LuaPackage::exportAndImportThroughZip()
{
    writeFile(path("from/alpha.lua"), "function greet(n) send('hi ' .. n) end\n");
    writeFile(path("from/beta.lua"), "-- b\xc3\xa9ta\n");
    LuaPackage::Metadata metadata;
    metadata.author = "Ann";
    metadata.modules = modules({"alpha", "beta", "nofile"});
    const QString archive = path("pack.olvexscripts");
    QString error;

    // The module list decides the files; the metadata is written as given.
    QVERIFY(LuaPackage::exportPackage(path("from"), modules({"alpha"}), {}, archive, error));
    QVERIFY2(LuaPackage::exportPackage(path("from"), metadata.modules.mid(1, 1), metadata, archive, error),
             qPrintable(error));
    QCOMPARE(runProgram("unzip", {"-Z1", archive}), "metadata.json\nscripts/\nscripts/alpha.lua\n"
                                                    "scripts/beta.lua\n"); // added to, not replaced
    QCOMPARE(LuaPackage::readMetadata(archive, error).author, QString("Ann"));

    writeFile(path("to/alpha.lua"), "-- mine\n");
    QList<LuaModule> imported;
    QStringList written;
    QVERIFY2(LuaPackage::importPackage(archive, path("to"), true, imported, error, &written),
             qPrintable(error));
    QCOMPARE(imported, metadata.modules); // a module named without a file is still returned
    QCOMPARE(written, QStringList{"beta"});
    QCOMPARE(readFile(path("to/alpha.lua")), QByteArray("-- mine\n"));
    QCOMPARE(readFile(path("to/beta.lua")), readFile(path("from/beta.lua")));

    QVERIFY(!LuaPackage::importPackage(archive, path("to"), false, imported, error));
    QCOMPARE(readFile(path("to/alpha.lua")), QByteArray("-- mine\n"));

    QVERIFY(!LuaPackage::exportPackage(path("from"), modules({"alpha", "gone"}), metadata,
                                       path("other.olvexscripts"), error));
    QCOMPARE(error, "Module file not found: " + path("from/gone.lua"));
    QVERIFY(!QFile::exists(path("other.olvexscripts")));

    const QByteArray savedPath = qgetenv("PATH"); // no unzip to be found
    qputenv("PATH", path("from").toLocal8Bit());
    const bool ok = LuaPackage::importPackage(archive, path("to"), true, imported, error);
    qputenv("PATH", savedPath);
    QVERIFY(!ok);
    QVERIFY2(error.startsWith("unzip command failed: ") && error.size() > 22, qPrintable(error));
}

// Each row is the body of a python script that fills the zipfile z.
void tst_LuaPackage::refusesHostilePackages_data()
{
    QTest::addColumn<QString>("entries");
    QTest::addColumn<QString>("error");

    const QString meta = "z.writestr('metadata.json', '{\"modules\":[{\"name\":\"a\"}]}')\n";
    const QString link = "i = zipfile.ZipInfo('%1'); i.create_system = 3\n"
                         "i.external_attr = 0o120777 << 16; z.writestr(i, '%2')\n";
    const QString absolute = path("escape.lua");
    QTest::newRow("no metadata") << "z.writestr('scripts/a.lua', 'x')"
                                 << "Failed to read metadata.json from package";
    QTest::newRow("parent") << meta + "z.writestr('../escape.lua', 'x')"
                            << "Package entry has an unsafe path: ../escape.lua";
    QTest::newRow("backslash parent") << meta + "z.writestr('scripts\\\\..\\\\..\\\\escape.lua', 'x')"
                                      << "Package entry has an unsafe path: scripts\\..\\..\\escape.lua";
    QTest::newRow("absolute") << meta + "z.writestr('" + absolute + "', 'x')"
                              << "Package entry has an unsafe path: " + absolute;
    QTest::newRow("linked module") << meta + link.arg("scripts/b.lua", path("secret"))
                                   << "Package entry is a link: scripts/b.lua";
    QTest::newRow("module file name") << meta + "z.writestr('scripts/bad-name.lua', 'x')"
                                      << "Package holds a module file with an invalid name: "
                                         "scripts/bad-name.lua";
    QTest::newRow("module name") << "z.writestr('metadata.json', '{\"modules\":[{\"name\":\"../a\"}]}')"
                                 << "Package names an invalid module: ../a";
    QTest::newRow("entries") << meta + "for i in range(1001): z.writestr('scripts/m%d.lua' % i, '')"
                             << "Package is too large to import";
    QTest::newRow("bytes") << meta + "z.writestr('scripts/a.lua', b'-' * (6 << 20))\n"
                                     "z.writestr('scripts/b.lua', b'-' * (5 << 20))"
                           << "Package is too large to import";
}

void tst_LuaPackage::refusesHostilePackages()
{
    QFETCH(QString, entries);
    QFETCH(QString, error);
    const QString archive = path("hostile.olvexscripts");
    QVERIFY(writeZip(archive, entries));
    writeFile(path("secret"), "outside");
    writeFile(path("to/keep.lua"), "-- mine\n");

    QList<LuaModule> imported = modules({"keep"});
    QString actual;
    QVERIFY(!LuaPackage::importPackage(archive, path("to"), true, imported, actual));
    QCOMPARE(actual, error);
    QCOMPARE(imported, modules({"keep"}));
    QCOMPARE(QDir(path("to")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
             QStringList{"keep.lua"});
    QCOMPARE(readFile(path("to/keep.lua")), QByteArray("-- mine\n"));
    QVERIFY(!QFile::exists(path("escape.lua")));

    // Reading only the description goes through the same checks.
    QCOMPARE(LuaPackage::readMetadata(archive, actual).modules, {});
    QVERIFY(!actual.isEmpty());
}

OLVEX_TEST_MAIN(tst_LuaPackage, QCoreApplication)
#include "tst_LuaPackage.moc"
