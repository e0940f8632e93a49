#include "site/cPackageStore.h"

#include "lint/InputFile.h"
#include "lint/cPackageLint.h"
#include "site/cSiteFetcher.h"

#include <QtCore/QCryptographicHash>

const cPackageStore::File& cPackageStore::package(const QUrl& url, cFindings& findings)
{
    const auto known = m_files.constFind(url);
    if (known != m_files.constEnd())
        return *known;
    File& file = m_files[url];
    QByteArray bytes;
    if (!fetch(url, &bytes, file))
        return file;
    cPackageLint lint(cSiteFetcher::nameOf(url), findings);
    file.isPackage = lint.check(bytes);
    file.name = lint.name();
    file.version = lint.version();
    file.manifest = lint.manifest();
    return file;
}

const cPackageStore::File& cPackageStore::file(const QUrl& url)
{
    const auto known = m_files.constFind(url);
    if (known != m_files.constEnd())
        return *known;
    File& file = m_files[url];
    QByteArray bytes;
    (void)fetch(url, &bytes, file);
    return file;
}

bool cPackageStore::fetch(const QUrl& url, QByteArray* bytes, File& file)
{
    file.isThere = m_fetcher.fetch(url, LargestFile, bytes);
    if (!file.isThere) {
        file.reason = m_fetcher.errorString();
        return false;
    }
    file.size = bytes->size();
    file.hash = QCryptographicHash::hash(*bytes, QCryptographicHash::Sha1);
    return true;
}
