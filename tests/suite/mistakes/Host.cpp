// Hosts with the mistakes that beginners make; the argument says which.
#include <Norvale/Corvane.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    const QByteArray mistake(argv[1]);
    std::unique_ptr<QCoreApplication> application;
    if (mistake != "no-application")
        application = std::make_unique<QCoreApplication>(argc, argv);
    if (mistake != "no-names") {
        QCoreApplication::setOrganizationName("Example");
        QCoreApplication::setApplicationName("Host");
    }
    cLogCentral::setDebuggerOutput(true);
    cLogCentral::setLineOutput([](const cLogEntry& line) { std::fputs(qPrintable(line.message + '\n'), stderr); });
    if (mistake == "start-before-initialize")
        return Corvane::startNormal() ? 0 : 1;
    if (!Corvane::initialize())
        return 1;
    if (mistake == "start-before-install") {
        QDir().mkpath(Corvane::velmiraFolderOrFile(Corvane::DropboxFolder));
        QFile::copy("repository.xml", Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile));
    }
    if (mistake == "initialize-twice")
        Corvane::initialize();
    const bool isStarted = Corvane::startNormal();
    if (isStarted && mistake == "load-misspelt")
        IPluginMgr::instance()->load("Helo");
    if (isStarted && mistake == "start-after-stop") {
        Corvane::stopNormal();
        Corvane::startNormal();
    }
    Corvane::stopNormal();
    QFile::remove(Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile)); // the next host has none
    return isStarted ? 0 : 1;
}
