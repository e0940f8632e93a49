#pragma once

#include "delta/cPackageParts.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

class cOldPackage;

/**
 * Makes patches: from what an installation has unpacked of an older package, a patch makes a newer package again, byte
 * by byte. Each is tried as an installation does before it is given out.
 *
 * Memory: both packages and what they unpack to, four bytes for each byte that the older one unpacks to, and the patch.
 * Packages that unpack to more than cOldPackage::LargestContents, which is 256 MiB, get none.
 */
class cDeltaMaker
{
public:
    /// What a patch may be of its package, in percent: above it saves too little for what it takes to rebuild.
    static constexpr int LargestShare = 60;

    /// How much a patch of so many bytes is of a package, in percent, rounded up.
    static int share(qint64 patch, qint64 package) { return int((patch * 100 + package - 1) / package); }

    /// Why this program makes no patches; empty when it does.
    static QString unavailability();

    /// Of a package that has been checked.
    explicit cDeltaMaker(const QByteArray& package) : m_package(package) {}

    /// Makes the patch that makes the package from the files of @p older, which has been checked, too. May be called
    /// for several. @return false when there is none: one of the two is too large, or the patch would be;
    /// errorString() says which.
    [[nodiscard]] bool make(const QByteArray& older);

    const QByteArray& patch() const { return m_patch; }
    const QString& errorString() const { return m_errorString; }

private:
    bool readPackage();
    bool rebuilds(cOldPackage& old);
    bool fail(const QString& reason);

    const QByteArray m_package;
    std::unique_ptr<cPackageParts> m_parts; // once they are needed
    QByteArray m_patch;
    QString m_errorString;
};
