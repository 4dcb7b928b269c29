#pragma once

#include <QTemporaryDir>
#include <QtGlobal>

// Points the generic data location (and so Storage) at a fresh temporary
// directory before anything reads it, so tests never touch the player's files.
// Construct it first thing in main(), before the application object.
class TestEnvironment final {
public:
    TestEnvironment()
    {
        qputenv("XDG_DATA_HOME", dataDir.path().toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", (dataDir.path() + QStringLiteral("/config")).toLocal8Bit());
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QString path() const { return dataDir.path(); }

private:
    QTemporaryDir dataDir;
};

// QTEST_MAIN with an isolated data directory. AppClass is QCoreApplication,
// QGuiApplication or QApplication. The environment is static so that it goes
// after Storage's own static instance, which saves once more when the
// program exits: the directory is removed only after that last save.
#define OLVEX_TEST_MAIN(TestObject, AppClass)                                                                \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        static TestEnvironment environment;                                                                  \
        AppClass app(argc, argv);                                                                            \
        TestObject tc;                                                                                       \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
