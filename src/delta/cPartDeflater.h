#pragma once

#include <QtCore/QtGlobal>

#include <functional>
#include <memory>

struct z_stream_s;

/**
 * Makes raw deflate streams, one after the other, as zlib makes them with given parameters and a window of 15 bits.
 *
 * Whoever makes a patch tries with it which parameters reproduce an entry of a package, and whoever rebuilds the
 * package makes the entry with it again: both have the bytes from the same calls. One thread at a time.
 */
class cPartDeflater
{
public:
    /// As zlib's deflateInit2 takes them.
    struct Parameters
    {
        int level = 6;       // 1 to 9
        int memoryLevel = 8; // 1 to 9
        int strategy = 0;    // 0 to 4

        bool areKnown() const;
        friend bool operator==(const Parameters& a, const Parameters& b)
        {
            return a.level == b.level && a.memoryLevel == b.memoryLevel && a.strategy == b.strategy;
        }
    };

    /// Takes the next bytes of a stream. @return false to end it there.
    using Take = std::function<bool(const char* bytes, qint64 count)>;

    cPartDeflater();
    ~cPartDeflater();

    /// Begins a stream; one that has not been ended is dropped. @return false when zlib has no memory for it.
    [[nodiscard]] bool begin(const Parameters& parameters);

    /// Goes on with @p count bytes of content. @return false when @p take did not go on.
    [[nodiscard]] bool add(const char* content, qint64 count, const Take& take);

    /// Ends the stream. @return as add().
    [[nodiscard]] bool end(const Take& take);

private:
    struct Free
    {
        void operator()(z_stream_s* stream) const;
    };

    bool deflateAll(int flush, const Take& take);

    std::unique_ptr<z_stream_s, Free> m_stream; // null before the first begin()
    Parameters m_parameters;
    std::unique_ptr<char[]> m_out;
};
