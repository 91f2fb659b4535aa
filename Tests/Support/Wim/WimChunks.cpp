#include "WimChunks.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <wimlib.h>

namespace vx {
namespace {

wimlib_compression_type TypeOf(WofPacking packing)
{
    return packing == WofPacking::kLzx ? WIMLIB_COMPRESSION_TYPE_LZX
                                       : WIMLIB_COMPRESSION_TYPE_XPRESS;
}

}  // namespace

WimChunks::WimChunks(const PackedForm &form) : _form(form)
{
    const wimlib_compression_type type = TypeOf(form.packing);
    if (wimlib_create_compressor(type, form.chunkBytes, 0, &_compressor) != 0 ||
        wimlib_create_decompressor(type, form.chunkBytes, &_decompressor) != 0) {
        std::fputs("libwim cannot be used\n", stderr);
        std::abort();
    }
}

WimChunks::~WimChunks()
{
    wimlib_free_compressor(_compressor);
    wimlib_free_decompressor(_decompressor);
}

std::optional<WimChunks::Bytes> WimChunks::Pack(ByteView chunk) const
{
    Bytes packed(chunk.size);
    const size_t room = chunk.size - std::min<size_t>(chunk.size, 1);
    packed.resize(wimlib_compress(chunk.data, chunk.size, packed.data(), room, _compressor));
    return packed.empty() ? std::nullopt : std::optional(std::move(packed));
}

std::optional<WimChunks::Bytes> WimChunks::Unpack(ByteView packed, size_t size) const
{
    Bytes bytes(size);
    return Unpack(packed, bytes.data(), size) ? std::optional(std::move(bytes)) : std::nullopt;
}

bool WimChunks::Unpack(ByteView packed, uint8_t *bytes, size_t size) const
{
    return wimlib_decompress(packed.data, packed.size, bytes, size, _decompressor) == 0;
}

WimChunks::Bytes WimChunks::Stream(ByteView contents, bool wide) const
{
    Bytes table;
    Bytes chunks;
    for (size_t at = 0; at < contents.size; at += _form.chunkBytes) {
        for (unsigned i = 0; at > 0 && i < (wide ? 8u : 4u); ++i)
            table.push_back(static_cast<uint8_t>(uint64_t{chunks.size()} >> 8 * i));
        const ByteView chunk = contents.From(at).First(_form.chunkBytes);
        const Bytes packed = Pack(chunk).value_or(chunk.Copy());
        chunks.insert(chunks.end(), packed.begin(), packed.end());
    }
    table.insert(table.end(), chunks.begin(), chunks.end());
    return table;
}

}  // namespace vx
