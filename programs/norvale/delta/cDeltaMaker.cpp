#include "delta/cDeltaMaker.h"

#include "delta/cDifference.h"
#include "delta/cOldPackage.h"
#include "delta/cPatchWriter.h"
#include "delta/cSuffixArray.h"
#include "install/cPackage.h"
#include "version/Shown.h"

QString cDeltaMaker::unavailability()
{
    return cSuffixArray::isAvailable() ? QString()
                                       : QStringLiteral("this build of the program has no libdivsufsort, which making "
                                                        "patches takes");
}

bool cDeltaMaker::make(const QByteArray& older)
{
    m_patch.clear();
    cOldPackage old;
    if (!m_parts && !readPackage())
        return false;
    if (!old.read(older))
        return fail(QStringLiteral("of the older package: ") + old.errorString());
    const QByteArray contents = old.contents();
    cSuffixArray sorted;
    if (!sorted.sort(contents))
        return fail(unavailability().isEmpty() ? QStringLiteral("there is not enough memory") : unavailability());
    cPatchWriter writer(m_package.size());
    writer.count(old.files().size());
    for (auto it = old.files().begin(); it != old.files().end(); ++it)
        writer.oldFile(it.key(), it.value());
    writer.parts(m_parts->parts());
    m_patch = writer.finish(cDifference(contents, sorted, m_parts->contents()));
    const int share = cDeltaMaker::share(m_patch.size(), m_package.size());
    if (share > LargestShare) {
        return fail(QStringLiteral("it would be %1 % of the package, and at most %2 % are of use")
                        .arg(share)
                        .arg(LargestShare));
    }
    return rebuilds(old);
}

bool cDeltaMaker::readPackage()
{
    cPackage package;
    package.setBytes(m_package);
    if (!package.readDirectory())
        return fail(package.errorString());
    m_parts = std::make_unique<cPackageParts>();
    if (!m_parts->read(package, cOldPackage::LargestContents)) {
        m_parts.reset();
        return fail(QStringLiteral("it has more than %1 with what it unpacks to, and of more no patch is made")
                        .arg(counted(cOldPackage::LargestContents, "byte")));
    }
    return true;
}

bool cDeltaMaker::rebuilds(cOldPackage& old)
{
    QByteArray rebuilt;
    if (!old.rebuild(m_patch, m_package.size(), &rebuilt))
        return fail(QStringLiteral("it does not make the package again: ") + old.errorString());
    return rebuilt == m_package || fail(QStringLiteral("it makes another package"));
}

bool cDeltaMaker::fail(const QString& reason)
{
    m_patch.clear();
    m_errorString = reason;
    return false;
}
