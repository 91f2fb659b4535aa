#include "Aff4Contents.h"

#include "ByteReader.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

namespace vx {
namespace {

using namespace std::string_view_literals;

constexpr uint64_t kPieceBytes = uint64_t{64} << 10;

std::vector<uint8_t> ReadPiece(const ByteSource &source, uint64_t at)
{
    const uint64_t left = source.Size() - std::min(source.Size(), at);
    std::vector<uint8_t> bytes(static_cast<size_t>(std::min(left, kPieceBytes)));
    if (source.ReadAt(at, bytes.data(), bytes.size()))
        bytes.clear();
    return bytes;
}

// Whether one of the directory's entries that begin in these bytes has a name of AFF4.
bool HasMember(ByteView bytes)
{
    constexpr std::string_view kNames[] = {"container.description", "information.turtle"};
    constexpr std::string_view kEntry = "PK\x01\x02";
    constexpr size_t kNameAt = 46;
    const uint8_t *end = bytes.data + bytes.size;
    for (const uint8_t *at = bytes.data; at != end; ++at) {
        at = std::search(at, end, kEntry.begin(), kEntry.end());
        if (at == end)
            return false;
        const auto entry = static_cast<size_t>(at - bytes.data);
        const bool isNamed = std::any_of(std::begin(kNames), std::end(kNames), [&](auto name) {
            return HasTextAt(bytes, entry + kNameAt, name);
        });
        if (isNamed)
            return true;
    }
    return false;
}

// Where the directory begins, in an archive of less than 4 GiB; elsewhere beyond the end.
uint64_t DirectoryAt(ByteView tail)
{
    constexpr std::string_view kEnd = "PK\x05\x06";
    constexpr size_t kPlaceAt = 16;
    const uint8_t *end = tail.data + tail.size;
    const uint8_t *last = std::find_end(tail.data, end, kEnd.begin(), kEnd.end());
    return last == end ? ~uint64_t{0}
                       : U32At(tail, static_cast<size_t>(last - tail.data) + kPlaceAt);
}

}  // namespace

bool IsAff4Archive(const ByteSource &source)
{
    const uint64_t size = source.Size();
    const std::vector<uint8_t> tail = ReadPiece(source, size - std::min(size, kPieceBytes));
    return HasMember(tail) || HasMember(ReadPiece(source, DirectoryAt(tail)));
}

}  // namespace vx
