#include "ZlibStream.h"

#include <algorithm>
#include <cerrno>
#include <vector>
#include <zlib.h>

namespace vx {
namespace {

constexpr size_t kInputBytes = size_t{32} << 10;

class Inflater {
public:
    // windowBits: of zlib; below 0 without the frame.
    explicit Inflater(int windowBits) : _isReady(inflateInit2(&_stream, windowBits) == Z_OK) {}
    ~Inflater()
    {
        if (_isReady)
            inflateEnd(&_stream);
    }
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    bool IsReady() const { return _isReady; }

    void SetRoom(uint8_t *place, size_t room)
    {
        _stream.next_out = place;
        _stream.avail_out = static_cast<uInt>(room);
    }

    // Takes all of the input unless the stream ends in it. Returns Z_OK, Z_STREAM_END or a failure.
    int Take(std::vector<uint8_t> &input)
    {
        _stream.next_in = input.data();
        _stream.avail_in = static_cast<uInt>(input.size());
        const int result = inflate(&_stream, Z_NO_FLUSH);
        // Input is left although nothing failed: there is no room for its output.
        return result == Z_OK && _stream.avail_in > 0 ? Z_BUF_ERROR : result;
    }

    size_t Done() const { return _stream.total_out; }

private:
    z_stream _stream = {};
    bool _isReady;
};

Error Damaged()
{
    return {Status::kSystemError, "packed data is damaged", EIO};
}

Result<size_t> Unpack(int windowBits, const ByteSource &source, PackedRange range, uint8_t *place,
                      size_t room)
{
    Inflater inflater(windowBits);
    if (!inflater.IsReady())
        return SystemError(ENOMEM, "unpack");
    inflater.SetRoom(place, room);
    std::vector<uint8_t> input(kInputBytes);
    int result = Z_OK;
    while (result == Z_OK && range.begin < range.end) {
        input.resize(static_cast<size_t>(std::min<uint64_t>(kInputBytes, range.end - range.begin)));
        if (Error error = source.ReadAt(range.begin, input.data(), input.size()))
            return error;
        range.begin += input.size();
        result = inflater.Take(input);
    }
    if (result != Z_STREAM_END)
        return Damaged();
    return inflater.Done();
}

}  // namespace

uint32_t Adler32(ByteView bytes, uint32_t sum)
{
    return static_cast<uint32_t>(adler32_z(sum, bytes.data, bytes.size));
}

Result<size_t> UnpackZlib(const ByteSource &source, PackedRange range, uint8_t *place, size_t room)
{
    return Unpack(MAX_WBITS, source, range, place, room);
}

Result<size_t> UnpackDeflate(const ByteSource &source, PackedRange range, uint8_t *place,
                             size_t room)
{
    return Unpack(-MAX_WBITS, source, range, place, room);
}

}  // namespace vx
