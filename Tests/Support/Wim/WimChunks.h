// Packs chunks and unpacks them by libwim, and makes whole packed streams of them.
//
// Threads: one at a time. Errors: the process ends if libwim cannot be used.
#pragma once

#include "WofFile.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

struct wimlib_compressor;
struct wimlib_decompressor;

namespace vx {

// A form of packed files, with the bytes of its chunks.
struct PackedForm {
    WofPacking packing;
    uint32_t chunkBytes;
};
constexpr PackedForm kPackedForms[] = {{WofPacking::kXpress4K, 4096},
                                       {WofPacking::kXpress8K, 8192},
                                       {WofPacking::kXpress16K, 16384},
                                       {WofPacking::kLzx, 32768}};

class WimChunks {
public:
    using Bytes = std::vector<uint8_t>;

    explicit WimChunks(const PackedForm &form);
    ~WimChunks();
    WimChunks(const WimChunks &) = delete;
    WimChunks &operator=(const WimChunks &) = delete;

    // Nothing if the chunk does not become smaller.
    std::optional<Bytes> Pack(ByteView chunk) const;
    // Nothing if libwim refuses the bytes.
    std::optional<Bytes> Unpack(ByteView packed, size_t size) const;
    bool Unpack(ByteView packed, uint8_t *bytes, size_t size) const;

    // The stream of a packed file: its table of chunks, and the chunks. wide: entries of 8 bytes.
    Bytes Stream(ByteView contents, bool wide = false) const;

private:
    const PackedForm _form;
    wimlib_compressor *_compressor = nullptr;
    wimlib_decompressor *_decompressor = nullptr;
};

}  // namespace vx
