#pragma once

#include <QtCore/QString>

#include <atomic>
#include <functional>
#include <memory>

class QIODevice;

/**
 * Makes a package again, byte by byte, from the files of an older version of its plugin and a patch.
 *
 * A patch is never trusted: a length counts only once its bytes are there, nothing is read outside the old files, and
 * nothing is written beyond the stated size of the package. Memory stays within a few buffers, whatever the sizes.
 *
 * The file of a patch, all numbers little-endian:
 *
 *     8 bytes   "NORVPAT1"
 *     u64       length of the control stream
 *     u64       length of the difference stream
 *     u64       length of the extra stream; the file ends with it
 *     the three streams, each a zlib stream
 *
 * The control stream has numbers of seven bits a byte, least significant first, the eighth bit says that more follow,
 * at most ten bytes and 2^63 - 1; "text" is a length, at most 3000, and as many bytes of UTF-8:
 *
 *     number    bytes of the package
 *     number    count of old files, at most 65535, then for each: text path (relative, "/"; each file once), number of
 *               bytes, 20 bytes of SHA-1
 *     number    count of parts of the package, at most 262144, then for each:
 *                   number kind: 0 the content as it is, 1 the content as a raw deflate stream
 *                   kind 1 only: three numbers, level (1 to 9), memory level (1 to 9), strategy (0 to 4), as zlib's
 *                   deflateInit2 takes them; the window is of 15 bits
 *                   number of bytes of content
 *     instructions until as many bytes are made as the contents have: number to add, number to copy, signed number to
 *     skip (zigzag: 0, -1, 1, -2 ...)
 *
 * The old files, one after the other, are one range of bytes, the contents another. An instruction makes contents of as
 * many bytes of the difference stream as it adds, each plus the old byte at the present place, modulo 256, which moves
 * on by one each; then of as many bytes of the extra stream as it copies; then the place in the old files moves by the
 * skip. It begins at 0 and, but for the last skip, which leads nowhere, never leaves the old files. All contents
 * together have at most 1032 bytes for each of the package, which is as far as deflating goes. Nothing is left over in
 * any stream, and no two instructions in a row make nothing. (Level 0 is not taken: what it makes depends on the
 * buffers, and is as good as content as it is.)
 */
class cRebuild
{
public:
    /// Opens an old file for reading by its path; null when it is not there. Called on the thread of run().
    using Open = std::function<std::unique_ptr<QIODevice>(const QString& path)>;

    /// The files of the plugin folder @p folder, absolute; nothing outside it, and no link.
    static Open filesIn(const QString& folder);

    /// @param size of the package, as its catalogue states it
    cRebuild(const QString& patchFile, Open old, qint64 size);

    /// Writes the package to @p package, which is open for writing. @return false when the old files are not those that
    /// the patch was made for, the patch is damaged, the device takes no more, or it was cancelled; errorString() says
    /// which. What was written is of no use then. Whether the package is the right one its hash tells.
    [[nodiscard]] bool run(QIODevice& package);

    /// Ends run() soon. Any thread.
    void cancel() { m_isCancelled = true; }

    const QString& errorString() const { return m_errorString; }

private:
    const QString m_patchFile;
    const Open m_old;
    const qint64 m_size;
    std::atomic<bool> m_isCancelled{false};
    QString m_errorString;
};
