#include "pack/cPackCommand.h"

#include "core/Files.h"
#include "pack/cPackageMaker.h"
#include "report/cFindings.h"
#include "report/cReport.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

CLI::App* cPackCommand::addTo(CLI::App& parent)
{
    CLI::App* const app = parent.add_subcommand("pack", "Make a plugin's package, NAME-VERSION.zip, out of its folder");
    app->add_option("FOLDER", m_folder, "The plugin's folder, with its Manifest.xml")->required();
    app->add_option("-o,--output", m_target, "Folder that the package is written into")
        ->type_name("DIR")
        ->capture_default_str();
    app->add_option("--exclude", m_excluded, "Leave out files of this name or relative path; * and ? match")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    app->footer(
        "The same folder gives the same bytes at every run. What an installation would refuse is refused here.\n"
        "The path of the package is printed.");
    return app;
}

ExitCode cPackCommand::run()
{
    const QString folder = text(m_folder);
    const QString target = text(m_target);
    if (!QFileInfo(folder).isDir())
        return Terminal::reason(folder + QStringLiteral(" is no folder")), ExitCode::ReadFailed;
    if (!isOutside(target, folder)) {
        Terminal::reason(
            QStringLiteral("the package would lie in the folder that it is made of; name another with -o"));
        return ExitCode::Usage;
    }
    cFindings findings;
    cPackageMaker package(folder, texts(m_excluded));
    const bool isMade = package.make(findings);
    cReport::tell(findings);
    if (!isMade)
        return ExitCode::Faults;
    const QString path = QDir(target).filePath(package.fileName());
    QString error;
    if (!replaceFile(path, package.bytes(), &error))
        return Terminal::reason(error), ExitCode::WriteFailed;
    Terminal::answer(path);
    return ExitCode::Ok;
}

bool cPackCommand::isOutside(const QString& target, const QString& folder) const
{
    const QString inner = QDir::cleanPath(QFileInfo(target).absoluteFilePath()) + QLatin1Char('/');
    return !inner.startsWith(QFileInfo(folder).canonicalFilePath() + QLatin1Char('/')) &&
           !(QFileInfo(target).canonicalFilePath() + QLatin1Char('/'))
                .startsWith(QFileInfo(folder).canonicalFilePath() + QLatin1Char('/'));
}
