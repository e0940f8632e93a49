#include "trust/cTargetFetch.h"

#include "config/cTrustDownload.h"
#include "disk/WholeFiles.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

namespace {

/// Passes on what it is given to a file, and holds it against what is vouched for.
class cCheckedFile : public QIODevice
{
public:
    cCheckedFile(QFileDevice& file, const cTrustTarget& target) : m_file(file), m_check(target)
    {
        open(QIODevice::WriteOnly);
    }

    QString fault() { return m_check.fault(); }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* bytes, qint64 size) override
    {
        m_check.add(bytes, size);
        const qint64 written = m_file.write(bytes, size);
        if (written < size)
            setErrorString(causeOf(m_file));
        return written;
    }

private:
    QFileDevice& m_file;
    cTrustCheck m_check;
};

QString fileNameOf(const QString& path)
{
    const QByteArray name = QUrl::toPercentEncoding(path);
    return QString::fromLatin1(name == "." || name == ".." ? QByteArray(name).replace('.', "%2E") : name);
}

/// The name that the standard gives a target where old and new ones lie side by side: "dir/HASH.name".
QString hashNameOf(const cTrustTarget& target)
{
    const QString algorithm = QLatin1String(target.hashes.contains(QStringLiteral("sha256")) ? "sha256" : "sha512");
    const int name = target.path.lastIndexOf(QLatin1Char('/')) + 1;
    return target.path.left(name) + QString::fromLatin1(target.hashes.value(algorithm).toHex()) + QLatin1Char('.') +
           target.path.mid(name);
}

} // namespace

cTargetFetch::cTargetFetch(const QUrl& base, bool hasHashNames, const QString& folder)
    : m_base(base), m_hasHashNames(hasHashNames), m_folder(folder)
{
}

bool cTargetFetch::fetch(const cTrustTarget& target)
{
    const QString path = QDir(m_folder).filePath(fileNameOf(target.path));
    m_wasThere = isThere(path, target);
    if (m_wasThere || !makeFolder(m_folder, &m_errorString))
        return m_wasThere;
    if (!m_hasHashNames)
        return fetch(cTrustDownload::urlOf(m_base, target.path), target, path);
    return fetch(cTrustDownload::urlOf(m_base, hashNameOf(target)), target, path) ||
           (m_downloader.error() == QNetworkReply::ContentNotFoundError &&
            fetch(cTrustDownload::urlOf(m_base, target.path), target, path));
}

bool cTargetFetch::isThere(const QString& path, const cTrustTarget& target) const
{
    constexpr qint64 Step = 1024 * 1024;
    QFile file(path);
    if (!QFileInfo(path).isFile() || QFileInfo(path).size() != target.length || !file.open(QIODevice::ReadOnly))
        return false;
    cTrustCheck check(target);
    for (QByteArray bytes = file.read(Step); !bytes.isEmpty(); bytes = file.read(Step))
        check.add(bytes.constData(), bytes.size());
    return check.fault().isEmpty();
}

bool cTargetFetch::fetch(const QUrl& url, const cTrustTarget& target, const QString& path)
{
    QSaveFile file(path); // removes what it wrote unless it is committed
    if (!file.open(QIODevice::WriteOnly)) {
        m_errorString = QStringLiteral("%1 cannot be written: %2").arg(path, causeOf(file));
        return false;
    }
    cCheckedFile device(file, target);
    m_downloader.setSizeLimit(qMax<qint64>(target.length, 1));
    QString fault;
    if (!m_downloader.download(url, &device))
        fault = QStringLiteral("cannot be fetched: %1").arg(m_downloader.errorString());
    else if (fault = device.fault(); !fault.isEmpty())
        fault = QStringLiteral("is refused: %1").arg(fault);
    else if (waitUntilReplaceable(path); !flushFile(file) || !file.commit())
        fault = QStringLiteral("cannot be written to %1: %2").arg(path, causeOf(file));
    else
        flushFolder(m_folder);
    if (!fault.isEmpty())
        m_errorString = QStringLiteral("%1 %2").arg(url.toDisplayString(), fault);
    return fault.isEmpty();
}
