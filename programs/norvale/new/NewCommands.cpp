// The commands that write a project to begin with.
#include "Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "new/cProject.h"
#include "version/cPluginId.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

namespace {

/// Names that the project, or who uses it, has already: targets of CMake, libraries, plugins, services, search paths.
constexpr const char* Taken[] = {"all",     "clean",         "core",    "edit_cache",    "help",
                                 "install", "Norvale",       "package", "Probe",         "package_source",
                                 "run",     "rebuild_cache", "site",    "suite",         "Settings",
                                 "test",    "VCore",         "VPlugin", "ZentraSettings"};

/// Why @p name cannot be that of a project; empty when it can.
QString faultOf(const QString& name)
{
    static const QRegularExpression form(QStringLiteral("\\A[A-Za-z][A-Za-z0-9_]+\\z"));
    if (!form.match(name).hasMatch() || !isSafePackageName(name)) {
        return QStringLiteral("\"%1\" cannot be the name: classes and files are named after it, so it begins with a "
                              "letter, and goes on with letters, digits and \"_\"")
            .arg(name);
    }
    for (const char* taken : Taken) {
        if (name.compare(QLatin1String(taken), Qt::CaseInsensitive) == 0)
            return QStringLiteral("\"%1\" cannot be the name: Norvale or CMake has it already").arg(name);
    }
    return QString();
}

/// @p word as a shell takes it.
QString forShell(const QString& word)
{
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_./:\\\\-]+\\z"));
    return plain.match(word).hasMatch() ? word : QLatin1Char('"') + word + QLatin1Char('"');
}

/// What CMake has to be told to find the package of this program. It looks by itself beside the programs on the path,
/// and takes the one for Qt 5 where there are two.
QString packageOptions()
{
    QString options;
    QDir folder(QCoreApplication::applicationDirPath());
    const QFileInfo found(QStandardPaths::findExecutable(QCoreApplication::applicationName()));
    if (found.dir().canonicalPath() != folder.canonicalPath() &&
        folder.cd(QStringLiteral(NORVALE_PREFIX_FROM_PROGRAMS)))
        options += QStringLiteral(" -DCMAKE_PREFIX_PATH=") + forShell(folder.path());
    if (QT_VERSION_MAJOR != 5)
        options += QStringLiteral(" -DNORVALE_QT_MAJOR=%1").arg(QT_VERSION_MAJOR);
    return options;
}

/// What the commands have in common: they check the name, write the project, and tell how to go on.
class cNewCommand : public cCommand
{
public:
    ExitCode run() final
    {
        const QString fault = faultOf(m_name);
        if (!fault.isEmpty())
            return endWith(ExitCode::Usage, fault);
        if (m_folders.size() > 1)
            return endWith(ExitCode::Usage, QStringLiteral("\"%1\" is not understood").arg(m_folders.at(1)));
        const QString folder = m_folders.value(0, m_name);
        const QFileInfo there(folder);
        if (there.exists() &&
            (!there.isDir() || !QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))) {
            return endWith(ExitCode::Exists,
                           QStringLiteral("%1 is there, and not an empty folder; name another FOLDER").arg(folder));
        }
        const cProject made = project();
        QString error;
        if (!made.write(folder, &error))
            return endWith(ExitCode::WriteFailed, error);
        for (const QString& file : made.files())
            Terminal::answer(QDir(folder).filePath(file));
        tellHowToGoOn(folder);
        return ExitCode::Ok;
    }

protected:
    virtual cProject project() const = 0;

    void addWords(cSyntax& syntax)
    {
        syntax.add("NAME", &m_name, "Its name, such as Weather; classes and files are named after it");
        syntax.add("FOLDER", &m_folders, "The folder that is made for it; NAME unless given");
        syntax.footer = "What is written builds, runs and passes its tests as it stands; README.md tells what is what.";
    }

    const QString& name() const { return m_name; }

private:
    static void tellHowToGoOn(const QString& folder)
    {
        QStringList lines{QString(), QStringLiteral("Go on with:")};
        if (QDir(folder) != QDir::current())
            lines.append(QStringLiteral("  cd %1").arg(forShell(folder)));
        lines.append({QStringLiteral("  cmake -S . -B build%1").arg(packageOptions()),
                      QStringLiteral("  cmake --build build"),
                      QStringLiteral("  ctest --test-dir build --output-on-failure"),
                      QStringLiteral("  cmake --build build -t run")});
        Terminal::answer(lines);
    }

    QString m_name;
    QStringList m_folders;
};

class cNewPluginCommand : public cNewCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("new plugin", "Write a plugin: a service, an event, a setting, a translation, and a test");
        addWords(syntax);
    }

protected:
    cProject project() const override
    {
        cProject plugin(QStringLiteral("NewPlugin"), name());
        plugin.add(QStringLiteral("plugin"));
        return plugin;
    }
};

class cNewHostCommand : public cNewCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("new host", "Write a program that runs a suite: its log, its plugins, updates, and a test");
        addWords(syntax);
        syntax.add("--window", &m_hasWindow, "With a window of Qt Widgets, instead of the command line");
    }

protected:
    cProject project() const override
    {
        cProject host(QStringLiteral("NewHost"), name());
        host.add(QStringLiteral("host"));
        host.add(m_hasWindow ? QStringLiteral("window") : QStringLiteral("console"));
        return host;
    }

private:
    bool m_hasWindow = false;
};

} // namespace

void addNewCommands(cProgram& program)
{
    program.addGroup("new", "Write a project to begin with");
    program.add(std::make_unique<cNewPluginCommand>());
    program.add(std::make_unique<cNewHostCommand>());
}
