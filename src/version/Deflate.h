#pragma once

#include <QtCore/QtGlobal>

/// What zlib is told as the window bits of a stream without a header, as packages hold them.
constexpr int RawDeflate = -15;

/// A stream of so many bytes makes at most so many times as many: the largest repetition, 258 bytes, takes two bits.
constexpr qint64 MostPerByte = 1032;
