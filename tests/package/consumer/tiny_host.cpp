#include <Norvale/Corvane.h>
#include <Norvale/IServiceMgr.h>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QSettings>
#include <QtCore/QTextStream>

namespace {
/// Keeps every settings store and data folder below @p folder and records the installation there.
void useSettingsIn(const QString& folder, const QString& installDir)
{
    QDir(folder).removeRecursively();
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME"})
        qputenv(variable, QFile::encodeName(folder));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder + "/user");
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, folder + "/machine");
    QSettings(QSettings::SystemScope, "Varkel", "Pelmora").setValue("InstallDir", QDir::toNativeSeparators(installDir));
}

/// Starts the suite, asks its service, stops it.
int run(QTextStream& out)
{
    if (!Corvane::initialize() || !Corvane::startNormal()) {
        out << "the suite does not start" << Qt::endl;
        return 1;
    }
    QString answer;
    IServiceMgr::instance()->invoke("Echo", "say", Q_RETURN_ARG(QString, answer), Q_ARG(QString, "hello"));
    Corvane::stopNormal();
    out << "answer: " << answer << Qt::endl;
    return answer == "echo: hello!" && !IServiceMgr::instance()->serviceExists("Echo") ? 0 : 1;
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    app.setOrganizationName("NorvaleTests");
    app.setApplicationName("tiny_host");
    QTextStream out(stdout);
    if (argc != 3)
        return 2;
    useSettingsIn(argv[2], argv[1]);
    const int code = run(out);
    // Where settings cannot be moved they are left as they were.
    QSettings(QSettings::SystemScope, "Varkel", "Pelmora").remove("InstallDir");
    return code;
}
