#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <QtCore/QString>

/** @ingroup core
 * A version of three signed 32-bit numbers: major, minor and build.
 *
 * Manifests, catalogues, update descriptions and the settings all hold versions as text; each text is read, compared
 * and printed by this class. It is a small value: copies are independent, and any thread may use its own.
 *
 * There is no invalid version. A text that cannot be read gives 0.0.0, which is an ordinary value.
 *
 * @code
 * const cVersion version(QStringLiteral("8.12.87"));
 * version.toString();                                // "8.12.087"
 * version < cVersion(QStringLiteral("8.13.0"));      // true
 * @endcode
 */
class NORVALE_EXPORT cVersion
{
public:
    /// Makes 0.0.0.
    cVersion() = default;

    /**
     * Reads a version from text.
     *
     * The text is split at its first two points. Each part is an unsigned decimal number of 32 bits, leading zeros
     * allowed; a part that is none counts as 0. What follows the second point is one part, so "1.2.3.4" is 1.2.0. A
     * number above 2147483647 is kept as the negative number of the same bits.
     *
     * @param text the version, such as "1.2.3", "1.02.003" or "1.2". A text without a point, "7" say, gives 0.0.0.
     */
    cVersion(const QString& text);

    /// Copies the three numbers.
    cVersion(const cVersion&) = default;

    /**
     * Copies the three numbers.
     * @return this version.
     */
    cVersion& operator=(const cVersion&) = default;

    virtual ~cVersion();

    /**
     * The first number.
     * @return 0 when the text had none.
     */
    qint32 major() const { return m_major; }

    /**
     * The second number.
     * @return 0 when the text had none.
     */
    qint32 minor() const { return m_minor; }

    /**
     * The third number.
     * @return 0 when the text had none.
     */
    qint32 build() const { return m_build; }

    /**
     * Prints the version in the form that package file names and update results carry: the minor number with at least
     * two digits and the build number with at least three.
     * @return for example "1.02.003"; reading it gives an equal version again, unless a number is negative.
     */
    QString toString() const;

    /// True when all three numbers are equal.
    friend bool operator==(const cVersion& a, const cVersion& b)
    {
        return a.m_major == b.m_major && a.m_minor == b.m_minor && a.m_build == b.m_build;
    }

    /// True when any number differs.
    friend bool operator!=(const cVersion& a, const cVersion& b) { return !(a == b); }

    /// True when @p a is older: the major numbers decide, then the minor, then the build numbers, all signed.
    friend bool operator<(const cVersion& a, const cVersion& b)
    {
        if (a.m_major != b.m_major)
            return a.m_major < b.m_major;
        if (a.m_minor != b.m_minor)
            return a.m_minor < b.m_minor;
        return a.m_build < b.m_build;
    }

    /// True when @p a is newer than @p b.
    friend bool operator>(const cVersion& a, const cVersion& b) { return b < a; }

    /// True when @p a is not newer than @p b.
    friend bool operator<=(const cVersion& a, const cVersion& b) { return !(b < a); }

    /// True when @p a is not older than @p b, that is, what is installed is current.
    friend bool operator>=(const cVersion& a, const cVersion& b) { return !(a < b); }

private:
    qint32 m_major = 0;
    qint32 m_minor = 0;
    qint32 m_build = 0;
};
