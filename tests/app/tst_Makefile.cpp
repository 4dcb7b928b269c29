#include <QtTest>

#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

// The first things a new player runs: `make run` and `make test`, including
// on a fresh machine and in a checkout that was moved.
class tst_Makefile : public QObject {
    Q_OBJECT

private slots:
    void movedCheckoutIsConfiguredAgain();
    void installOutputIsShortUnlessItFails_data();
    void installOutputIsShortUnlessItFails();
};

namespace {

QString sourceFile(const QString& relative)
{
    // Set by the test runner; the default fits a build folder inside the checkout.
    return qEnvironmentVariable("OLVEX_TEST_SOURCE_DIR", QCoreApplication::applicationDirPath() + "/..") +
           '/' + relative;
}

void writeScript(const QString& path, const QByteArray& text)
{
    writeFile(path, text);
    QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner);
}

struct Run {
    int exitCode = -1;
    QString output;
};

// The environment of a make run from scratch: when this test itself runs under
// `make test BUILD_DIR=…`, make passes that choice on both in MAKEFLAGS and as
// an environment variable, and a nested make would quietly use the caller's
// build folder instead of its default one.
QProcessEnvironment freshEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name :
         {"MAKEFLAGS", "MFLAGS", "MAKELEVEL", "MAKEOVERRIDES", "BUILD_DIR", "CMAKE_FLAGS", "JOBS"})
        environment.remove(name);
    return environment;
}

Run run(const QString& program, const QStringList& arguments, const QString& dir,
        const QProcessEnvironment& environment = freshEnvironment())
{
    QProcess process;
    process.setWorkingDirectory(dir);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.waitForFinished(120000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromLocal8Bit(process.readAll())};
}

} // namespace

void tst_Makefile::movedCheckoutIsConfiguredAgain()
{
    // The real Makefile over a project that configures in a moment.
    QTemporaryDir parent;
    const QString first = parent.filePath("first");
    writeFile(first + "/CMakeLists.txt", "cmake_minimum_required(VERSION 3.16)\nproject(probe NONE)\n");
    writeScript(first + "/tools/install-deps.sh", "#!/bin/sh\nexit 0\n");
    QVERIFY(QFile::copy(sourceFile("Makefile"), first + "/Makefile"));
    const Run configured = run("make", {"configure"}, first);
    QVERIFY2(configured.exitCode == 0, qPrintable(configured.output));

    const QString moved = parent.filePath("moved");
    QVERIFY(QDir().rename(first, moved));
    const Run again = run("make", {"configure"}, moved);
    QVERIFY2(again.exitCode == 0, qPrintable(again.output));
    QVERIFY(again.output.contains("configuring it again"));
    QFile cache(moved + "/build/CMakeCache.txt");
    QVERIFY(cache.open(QIODevice::ReadOnly));
    QVERIFY(cache.readAll().contains("CMAKE_HOME_DIRECTORY:INTERNAL=" + moved.toLocal8Bit() + '\n'));
}

void tst_Makefile::installOutputIsShortUnlessItFails_data()
{
    QTest::addColumn<bool>("aptFails");
    QTest::newRow("installed") << false;
    QTest::newRow("failed") << true;
}

void tst_Makefile::installOutputIsShortUnlessItFails()
{
    QFETCH(bool, aptFails);
    // A machine with none of the packages, whose apt is as talkative as the real one.
    QTemporaryDir fakeBin;
    writeScript(fakeBin.filePath("dpkg-query"), "#!/bin/sh\nexit 1\n");
    writeScript(fakeBin.filePath("id"), "#!/bin/sh\necho 0\n");
    writeScript(fakeBin.filePath("apt-get"),
                "#!/bin/sh\nfor i in $(seq 200); do echo \"apt line $i\"; echo \"dpkg line $i\" >&2; done\n"
                "exit ${FAKE_APT_STATUS:-0}\n");
    QProcessEnvironment environment = freshEnvironment();
    environment.insert("PATH", fakeBin.path() + ':' + environment.value("PATH"));
    environment.insert("FAKE_APT_STATUS", aptFails ? "100" : "0");

    const Run install = run("bash", {sourceFile("tools/install-deps.sh")}, fakeBin.path(), environment);
    const QStringList lines = install.output.split('\n', Qt::SkipEmptyParts);
    if (aptFails) {
        QVERIFY(install.exitCode != 0);
        QVERIFY2(install.output.contains("dpkg line 200"), qPrintable(install.output));
    } else {
        QCOMPARE(install.exitCode, 0);
        QVERIFY2(lines.size() <= 2, qPrintable(install.output));
    }
}

OLVEX_TEST_MAIN(tst_Makefile, QCoreApplication)
#include "tst_Makefile.moc"
