#include "ZstdFrame.h"

#include <cerrno>
#include <memory>
#include <vector>
#include <zstd.h>

namespace vx {
namespace {

struct FreeContext {
    void operator()(ZSTD_DCtx *context) const { ZSTD_freeDCtx(context); }
};

Error Damaged()
{
    return {Status::kSystemError, "packed data is damaged", EIO};
}

}  // namespace

Error UnpackZstd(const ByteSource &source, PackedRange range, uint8_t *place, size_t room)
{
    if (range.end - range.begin > kLongestZstdInput)
        return Damaged();
    std::vector<uint8_t> input(static_cast<size_t>(range.end - range.begin));
    if (Error error = source.ReadAt(range.begin, input.data(), input.size()))
        return error;
    const std::unique_ptr<ZSTD_DCtx, FreeContext> context(ZSTD_createDCtx());
    if (context == nullptr)
        return SystemError(ENOMEM, "unpack");
    ByteView left = input;
    while (room > 0) {
        const size_t frame = ZSTD_findFrameCompressedSize(left.data, left.size);
        if (ZSTD_isError(frame))
            return Damaged();
        const size_t done = ZSTD_decompressDCtx(context.get(), place, room, left.data, frame);
        if (ZSTD_isError(done))
            return Damaged();
        place += done;
        room -= done;
        left = left.From(frame);
    }
    return {};
}

}  // namespace vx
