#include "MachineProgram.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>

#include <windows.h>

namespace {

using ToUnixPath = char*(CDECL*)(const wchar_t*);

/// What only Wine's kernel32 has.
ToUnixPath wine()
{
    const auto function = GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name");
    return reinterpret_cast<ToUnixPath>(reinterpret_cast<void*>(function));
}

/// On Windows itself the interpreter is not called python3.
QString nameOf(const QString& program)
{
    return program == QLatin1String("python3") ? QStringLiteral("python") : program;
}

/// @p path as the machine writes it.
QString machinePath(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists() && !file.isRoot()) // only what is there is known to the machine
        return machinePath(file.absolutePath()) + QLatin1Char('/') + file.fileName();
    char* name = wine()(reinterpret_cast<const wchar_t*>(QDir::toNativeSeparators(path).utf16()));
    const QString result = name ? QString::fromUtf8(name) : path;
    HeapFree(GetProcessHeap(), 0, name);
    return result;
}

} // namespace

void MachineProgram::start(QProcess& process, const QString& program, const QStringList& arguments)
{
    if (!wine()) {
        process.start(nameOf(program), arguments);
        return;
    }
    QStringList words{machinePath(QStringLiteral(RELAY_SCRIPT)), program};
    for (const QString& argument : arguments)
        words << (QDir::isAbsolutePath(argument) ? machinePath(argument) : argument);
    process.start(QStringLiteral(RELAY_PROGRAM), words);
}

bool MachineProgram::exists(const QString& program)
{
    if (!wine())
        return !QStandardPaths::findExecutable(nameOf(program)).isEmpty();
    for (const char* folder : {"Z:/usr/bin/", "Z:/usr/local/bin/"}) {
        if (QFileInfo::exists(QLatin1String(folder) + program))
            return true;
    }
    return false;
}

QString MachineProgram::pathWith(const QString& program, const QString& folder)
{
    const QString path = qEnvironmentVariable("PATH");
    if (!wine())
        return path;
    QDir().mkpath(folder);
    QFile::copy(QStringLiteral(RELAY_PROGRAM), QDir(folder).filePath(program + QStringLiteral(".exe")));
    qputenv("RELAY_SCRIPT", RELAY_SCRIPT);
    return QDir::toNativeSeparators(folder) + QLatin1Char(';') + path;
}
