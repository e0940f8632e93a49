#include "Documents.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <cstdio>

namespace {

QString takeFolder(int& argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (argument.startsWith(QLatin1Char('-')) || !QDir(argument).exists())
            continue;
        std::rotate(argv + i, argv + i + 1, argv + argc);
        --argc;
        return argument;
    }
    return QStringLiteral(NORVALE_BENCH_DATA);
}

} // namespace

std::vector<BenchDocument> loadDocuments(int& argc, char** argv)
{
    const QString folder = takeFolder(argc, argv);
    std::vector<BenchDocument> documents{{"twitter", {}}, {"canada", {}}, {"citm", {}}};
    const char* const files[] = {"twitter.json", "canada.json", "citm_catalog.json"};
    for (size_t i = 0; i < documents.size(); ++i) {
        QFile file(folder + QLatin1Char('/') + QLatin1String(files[i]));
        if (folder.isEmpty() || !file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr,
                         "cannot read %s: give the folder of the documents as an argument or as NORVALE_BENCH_DATA\n",
                         qPrintable(file.fileName()));
            return {};
        }
        documents[i].text = file.readAll();
    }
    return documents;
}
