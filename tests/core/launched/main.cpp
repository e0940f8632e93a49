#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QSaveFile>

/// Writes its working directory and the arguments behind the first, a line each, to the file that the first one names.
int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    QSaveFile report(arguments.value(1));
    if (!report.open(QIODevice::WriteOnly))
        return 1;
    report.write((QStringList(QDir::currentPath()) + arguments.mid(2)).join(QLatin1Char('\n')).toUtf8());
    return report.commit() ? 0 : 1;
}
