#pragma once

#include "Platform.h"

#include <QtTest/QtTest>

#include <memory>

/// What a child process left.
struct Ended
{
    int code; ///< -1 when it crashed or did not end
    QString output;
    QString reasons;
};

using Variables = QMap<QString, QString>;

/// Waits for the end of a process, and kills one that does not end. @return as Ended::code.
inline int exitCodeOf(QProcess& process)
{
    if (process.state() != QProcess::NotRunning && !process.waitForFinished(60000))
        process.kill();
    process.waitForFinished();
    const bool hasEnded = process.exitStatus() == QProcess::NormalExit && process.error() != QProcess::FailedToStart;
    return hasEnded ? process.exitCode() : -1;
}

/// Runs a program of this project to its end, in @p folder, with @p variables in its environment.
inline Ended runToEnd(const QString& program, const QStringList& arguments, const Variables& variables,
                      const QString& folder = QString())
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto it = variables.begin(); it != variables.end(); ++it)
        environment.insert(it.key(), it.value());
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    Platform::start(process, program, arguments);
    const int code = exitCodeOf(process);
    return {code, Platform::consoleText(process.readAllStandardOutput()),
            Platform::consoleText(process.readAllStandardError())};
}

/// The main function of a test program that also runs itself, with the arguments "child WORDS...": @p child then takes
/// the words, under the names that a sandbox has.
template <typename Test>
int runTestOrChild(int argc, char** argv, int (*child)(const QStringList& words))
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) != "child")
        return QTest::qExec(std::make_unique<Test>().get(), argc, argv);
    QCoreApplication::setOrganizationName("NorvaleTests");
    QCoreApplication::setApplicationName("Fixture");
    return child(QCoreApplication::arguments().mid(2));
}

/// Like QTEST_GUILESS_MAIN(), for such a program.
#define TEST_OR_CHILD_MAIN(Test, child)                                                                                \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        return runTestOrChild<Test>(argc, argv, child);                                                                \
    }

/// The words of @p line.
inline QStringList wordsOf(const QString& line)
{
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

#ifdef FILE_FAULTS
/// The environment in which what changes the disk below @p folder goes wrong; FileFaults/ tells of @p fault.
inline Variables faultsBelow(const QString& folder, const QString& fault)
{
    QDir().mkpath(folder);
    return {{"LD_PRELOAD", FILE_FAULTS},
            {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},
            {"FILE_FAULTS", fault},
            {"FILE_FAULTS_BELOW", QDir(folder).canonicalPath()}};
}
#endif
