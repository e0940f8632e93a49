#include "cHost.h"
#include "cMainWindow.h"

#include <Norvale/IConfigMgr.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QUrl>
#include <QtWidgets/QApplication>

#include <cstdlib>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    cHost::nameApplication();
    QCommandLineParser options;
    options.addHelpOption();
    options.addOption({"site", "Ask the update site at this URL from now on.", "URL"});
    options.process(app);
    if (options.isSet("site") && !IConfigMgr::setUpdateLocations({QUrl::fromUserInput(options.value("site"))}))
        return EXIT_FAILURE;

    cHost host;
    cMainWindow window(host);
    window.show();
    if (!host.initialize() || !host.start({"base", "ui"}))
        window.say(cMainWindow::tr("The suite does not run; the log tells why."));
    const int code = app.exec();
    return host.stop() ? code : EXIT_FAILURE;
}
