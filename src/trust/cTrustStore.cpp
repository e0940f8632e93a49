#include "trust/cTrustStore.h"

#include "disk/WholeFiles.h"
#include "trust/Cryptography.h"

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>
#include <QtCore/QUrl>

namespace {

#ifdef Q_OS_WIN
constexpr bool IsWindows = true;
#else
constexpr bool IsWindows = false;
#endif

QString inHexadecimal(QChar character)
{
    return QStringLiteral("%%1").arg(QString::number(character.unicode(), 16).toUpper());
}

// Where "A" and "a" are one file, and names such as "con" are devices whatever follows them.
QString safeOnWindows(const QString& name)
{
    static const QRegularExpression device(QStringLiteral("\\A(con|prn|aux|nul|com\\d|lpt\\d)(\\.|\\z)"),
                                           QRegularExpression::CaseInsensitiveOption);
    const bool isDevice = device.match(name).hasMatch();
    QString safe;
    for (int i = 0; i < name.size(); ++i) {
        const bool isHex =
            (i > 0 && name.at(i - 1) == QLatin1Char('%')) || (i > 1 && name.at(i - 2) == QLatin1Char('%'));
        const bool isUnsafe = !isHex && (name.at(i).isUpper() || (i == 0 && isDevice));
        safe += isUnsafe ? inHexadecimal(name.at(i)) : QString(name.at(i));
    }
    return safe;
}

} // namespace

QString cTrustStore::fileNameOf(const QString& role)
{
    constexpr int Longest = 160; // of 255 bytes, with room for what is written beside
    QString name = QString::fromLatin1(QUrl::toPercentEncoding(role));
    if (IsWindows)
        name = safeOnWindows(name);
    if (name.size() > Longest)
        name = name.left(Longest - 64 - 2) + QStringLiteral("%%") +
               QString::fromLatin1(Cryptography::sha256(role.toUtf8()).toHex());
    return (name.isEmpty() ? QStringLiteral("%") : name) + QStringLiteral(".json");
}

QString cTrustStore::pathOf(const QString& role) const
{
    return QDir(m_folder).filePath(fileNameOf(role));
}

QByteArray cTrustStore::load(const QString& role) const
{
    QByteArray bytes;
    return readFile(pathOf(role), bytes, nullptr) ? bytes : QByteArray();
}

bool cTrustStore::save(const QString& role, const QByteArray& bytes, QString* error)
{
    return replaceFile(pathOf(role), bytes, error);
}

bool cTrustStore::forget(const QString& role, QString* error)
{
    const QString path = pathOf(role);
    QFile file(path);
    if (isAbsent(path) || file.remove())
        return true;
    *error = QStringLiteral("%1 cannot be removed: %2").arg(path, causeOf(file));
    return false;
}
