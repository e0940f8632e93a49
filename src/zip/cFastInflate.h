#pragma once

#include "zip/cBitReader.h"
#include "zip/cHuffmanTable.h"

#include <QtCore/QByteArray>

/// Inflates whole raw deflate streams that are as they should be, in memory, faster than zlib. It decides nothing: a
/// stream that it cannot take to its end within the space that it has is zlib's, which then starts anew.
class cFastInflate
{
public:
    /// Inflates into a buffer of @p most bytes.
    /// @param out receives the whole stream. After a failure its contents are undefined.
    /// @return whether the stream is complete and has at most @p most bytes.
    static bool inflate(const char* in, int inSize, int most, QByteArray* out);

private:
    /// What a match may write behind the end that was checked before it, literals before it included.
    static constexpr int Slack = 3 + 258 + 8;

    cFastInflate(const uchar* in, int inSize, uchar* out, int most);

    bool run();
    bool readBlock(uint type);
    bool readStored();
    bool readFixed();
    bool readDynamic();
    bool readCodeLengths(const cHuffmanTable& codes, uchar* lengths, int count);
    int readRepeat(uint symbol);
    bool readSymbols(const cHuffmanTable& literals, const cHuffmanTable& distances);

    cBitReader m_reader;
    uchar* m_begin;
    uchar* m_next;
    uchar* m_end;
};
