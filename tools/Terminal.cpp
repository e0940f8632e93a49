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
    print(stderr, QStringLiteral("norvale: ") + text);
}

QString Terminal::harmless(QString text)
{
    for (QChar& c : text)
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char('?');
    return text;
}
