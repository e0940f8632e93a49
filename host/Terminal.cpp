#include "Terminal.h"

#include <cstdio>

namespace {

void print(std::FILE* stream, const QString& line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

} // namespace

void Terminal::answer(const QString& text)
{
    print(stdout, text);
}

void Terminal::reason(const QString& text)
{
    print(stderr, QStringLiteral("VCore: ") + text);
}
