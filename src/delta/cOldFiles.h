#pragma once

#include "delta/cRebuild.h"

#include <array>
#include <vector>

class QByteArray;

/**
 * The old files that a patch was made for, one after the other as one range of bytes.
 *
 * Each file is read once, and held against its size and SHA-1, before a byte of it counts. Then they are read in
 * blocks, of which some are kept: whoever copies from here and there comes back. A few files are open at a time.
 */
class cOldFiles
{
public:
    /// @param isCancelled ends add() when it becomes true
    cOldFiles(cRebuild::Open open, const std::atomic<bool>& isCancelled);
    ~cOldFiles();

    /// Whether @p path can be that of a file in a plugin's folder.
    static bool isInside(const QString& path);

    /// Puts the file behind those that are there. @return false when it is not the one that the patch was made for, or
    /// cannot be read; errorString() tells.
    [[nodiscard]] bool add(const QString& path, qint64 size, const QByteArray& sha1);

    /// Bytes of all files.
    qint64 size() const { return m_size; }

    /// Adds to each of the @p count bytes at @p to the one of the range from @p place on, all of which are there.
    /// @return false when the files have changed meanwhile; errorString() tells.
    [[nodiscard]] bool addTo(char* to, qint64 place, qint64 count);

    const QString& errorString() const { return m_errorString; }

private:
    struct File
    {
        QString path;
        qint64 start; // in the range
    };
    struct OpenFile
    {
        size_t number = 0;
        std::unique_ptr<QIODevice> device;
    };

    const char* blockAt(qint64 block);
    bool readRange(qint64 place, char* to, qint64 count);
    QIODevice* deviceOf(size_t number);
    bool refuse(const QString& path, const QString& why);

    static constexpr qint64 BlockSize = 16 << 10;
    static constexpr qint64 BlockCount = 256;

    const cRebuild::Open m_open;
    const std::atomic<bool>& m_isCancelled;
    std::vector<File> m_files;
    qint64 m_size = 0;
    std::array<OpenFile, 8> m_openFiles;         // each at its number modulo their count
    std::array<qint64, BlockCount> m_heldBlocks; // so are the blocks; -1 where there is none
    const std::unique_ptr<char[]> m_blocks;
    QString m_errorString;
};
