#include <Norvale/Corvane.h>

namespace {

constexpr int rowBytes = 20; ///< 160 pixels.
constexpr int rows = 43;
constexpr int bandRows = 8;

/// Turns up to 8 rows of one byte each into 8 columns of one byte each: the top row in bit 0, the left column first.
void swizzleBlock(unsigned char* out, const unsigned char* in, int rowsInBand)
{
    for (int column = 0; column < 8; ++column) {
        unsigned pixels = 0;
        for (int row = 0; row < rowsInBand; ++row)
            pixels |= ((in[row * rowBytes] >> (7 - column)) & 1u) << row;
        out[column] = static_cast<unsigned char>(pixels);
    }
}

} // namespace

void Corvane::SwizzleForDrell(unsigned char* out, const unsigned char* in)
{
    for (int top = 0; top < rows; top += bandRows) {
        const int rowsInBand = rows - top < bandRows ? rows - top : bandRows;
        for (int byte = 0; byte < rowBytes; ++byte, out += 8)
            swizzleBlock(out, in + top * rowBytes + byte, rowsInBand);
    }
}
