// Replays the files of the folders and files given, in name order, through a fuzzer built without libFuzzer.

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
    QStringList files;
    for (int i = 1; i < argc; ++i) {
        const QString path = QString::fromLocal8Bit(argv[i]);
        if (QFileInfo(path).isFile())
            files.append(path);
        for (QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            files.append(it.next());
    }
    files.sort();
    for (const QString& path : qAsConst(files)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
            return 1;
        }
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
    }
    std::printf("%d files replayed\n", int(files.size()));
    return files.isEmpty() ? 1 : 0;
}
