// What is known of crashes. The suite is not needed for it: it may be what cannot start.
#include "HostSystem.h"
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

/// Prints the newest report of a crash.
class cReportCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--report", "Print the newest report of a crash. Reports stay on this machine, the newest ten of "
                                "them.");
        addJsonFlag(syntax, &m_isJson);
    }

    ExitCode run() override
    {
        const QDir folder(Corvane::velmiraFolderOrFile(Corvane::DataFolder) + QLatin1String("/crashes"));
        const QStringList names = folder.entryList({QStringLiteral("crash-*-*-*.txt")}, QDir::Files, QDir::Time);
        if (names.isEmpty() && m_isJson)
            answer(QString(), {});
        if (names.isEmpty())
            return endWith(ExitCode::NoReport, QStringLiteral("there is no crash report in %1").arg(folder.path()));
        QFile file(folder.filePath(names.first()));
        if (!file.open(QIODevice::ReadOnly)) {
            return endWith(ExitCode::NoReport,
                           QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString()));
        }
        QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        while (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        std::transform(lines.begin(), lines.end(), lines.begin(), readable);
        answer(file.fileName(), lines);
        return ExitCode::Ok;
    }

private:
    void answer(const QString& path, const QStringList& lines) const
    {
        if (m_isJson)
            answerJson({{QStringLiteral("file"), path}, {QStringLiteral("text"), lines.join(QLatin1Char('\n'))}});
        else
            Terminal::answer(QStringList(QStringLiteral("File: %1").arg(path)) + lines);
    }

    /// A line of the stack, "LIBRARY(FUNCTION+0xOFFSET)[0xADDRESS]", has its function as its author knows it.
    static QString readable(const QString& line)
    {
        static const QRegularExpression function(QStringLiteral("\\((\\w+)\\+0x[0-9a-f]+\\)\\[0x[0-9a-f]+\\]$"));
        const QRegularExpressionMatch match = function.match(line);
        if (!match.hasMatch())
            return line;
        const int begin = match.capturedStart(1), end = match.capturedEnd(1);
        return line.left(begin) + HostSystem::demangled(match.captured(1)) + line.mid(end);
    }

    bool m_isJson = false;
};

} // namespace

void addReportCommand(cProgram& program)
{
    program.add(std::make_unique<cReportCommand>());
}
