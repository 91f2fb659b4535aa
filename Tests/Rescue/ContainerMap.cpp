#include "ContainerMap.h"

#include "FileSystemImage.h"
#include "FolderSnapshot.h"

#include <cstring>
#include <string_view>

namespace vx {
namespace {

constexpr size_t kChunkBytes = 32768;

bool IsZero(std::string_view bytes)
{
    return bytes.find_first_not_of('\0') == std::string_view::npos;
}

}  // namespace

ContainerMap::ContainerMap(const std::string &folder, const std::string &raw, bool inChunks)
{
    const FolderSnapshot files(folder);
    for (const auto &[name, entry] : files.Entries()) {
        _parts.push_back(folder + name);
        if (inChunks)
            FindChunks(raw, entry.bytes, _parts.size() - 1);
        else
            FindSectors(raw, entry.bytes, _parts.size() - 1);
    }
}

std::optional<Spot> ContainerMap::SpotOf(uint64_t place) const
{
    const auto found = _spots.find(place);
    return found == _spots.end() ? std::nullopt : std::make_optional(found->second);
}

void ContainerMap::FindSectors(const std::string &raw, const std::string &bytes, size_t part)
{
    std::unordered_map<std::string_view, uint64_t> places;
    for (size_t at = 0; at + kSectorBytes <= bytes.size(); at += kSectorBytes) {
        const auto sector = std::string_view(bytes).substr(at, kSectorBytes);
        if (!IsZero(sector))
            places.emplace(sector, at);
    }
    for (size_t at = 0; at + kSectorBytes <= raw.size(); at += kSectorBytes) {
        const auto found = places.find(std::string_view(raw).substr(at, kSectorBytes));
        if (found != places.end())
            _spots.emplace(at, Spot{part, found->second, found->second + kSectorBytes});
    }
}

// The chunks follow each other.
void ContainerMap::FindChunks(const std::string &raw, const std::string &bytes, size_t part)
{
    size_t from = 0;
    for (size_t at = 0; at < raw.size(); at += kChunkBytes) {
        const auto chunk = std::string_view(raw).substr(at, kChunkBytes);
        // Faster than std::string's search, by far, where there is much that is alike.
        const void *place = IsZero(chunk) ? nullptr
                                          : memmem(bytes.data() + from, bytes.size() - from,
                                                   chunk.data(), chunk.size());
        if (place == nullptr)
            continue;
        const auto found = static_cast<size_t>(static_cast<const char *>(place) - bytes.data());
        from = found + chunk.size();
        for (size_t in = 0; in + kSectorBytes <= chunk.size(); in += kSectorBytes)
            _spots.emplace(at + in, Spot{part, found + in, found + in + kSectorBytes});
    }
}

}  // namespace vx
