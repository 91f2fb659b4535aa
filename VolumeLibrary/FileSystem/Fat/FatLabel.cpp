#include "FatLabel.h"

#include "CodePoints.h"
#include "FatBoot.h"
#include "Wtf8.h"

#include <algorithm>
#include <vector>

namespace vx {
namespace {

constexpr size_t kMostFolderBytes = 64 * 1024;
constexpr size_t kEntryBytes = 32;

// Empty if not all of them can be read.
std::vector<uint8_t> ReadBytes(const ByteSource &volume, uint64_t at, size_t count)
{
    std::vector<uint8_t> bytes(count);
    if (volume.ReadAt(at, bytes.data(), count))
        bytes.clear();
    return bytes;
}

// The root folder, or as much of it as lies at its beginning.
std::vector<uint8_t> ReadRoot(const ByteSource &volume, const FatGeometry &geometry)
{
    if (geometry.rootCluster == 0)
        return ReadBytes(volume, geometry.rootOffset,
                         std::min<size_t>(geometry.rootBytes, kMostFolderBytes));
    if (geometry.rootCluster < 2 || geometry.rootCluster > geometry.lastCluster)
        return {};
    const uint64_t cluster = geometry.rootCluster - 2;
    return ReadBytes(volume, geometry.clustersOffset + cluster * geometry.clusterBytes,
                     std::min<size_t>(geometry.clusterBytes, kMostFolderBytes));
}

// Eleven bytes, padded with blanks. The meaning of bytes beyond ASCII depends on the computer that
// wrote them.
std::string TextOfFatLabel(const uint8_t *bytes)
{
    constexpr size_t kLabelBytes = 11;
    std::string text;
    for (size_t i = 0; i < kLabelBytes; ++i)
        AppendUtf8(bytes[i] < 0x80 ? bytes[i] : kReplacementCharacter, &text);
    text.erase(text.find_last_not_of(' ') + 1);
    return text == "NO NAME" ? "" : text;
}

std::string LabelInFatRoot(const std::vector<uint8_t> &root)
{
    constexpr uint8_t kDeleted = 0xE5;
    constexpr uint8_t kIsLabel = 0x08;
    constexpr uint8_t kKindBits = 0x1F;  // a part of a long name has more of these bits
    for (size_t at = 0; at + kEntryBytes <= root.size() && root[at] != 0; at += kEntryBytes) {
        if (root[at] != kDeleted && (root[at + 11] & kKindBits) == kIsLabel)
            return TextOfFatLabel(&root[at]);
    }
    return {};
}

std::string LabelInFatBootSector(const FatBoot &boot)
{
    constexpr uint8_t kHasLabel = 0x29;
    const size_t mark = boot.geometry.kind == FatGeometry::Kind::k32 ? 66 : 38;
    return boot.sector[mark] != kHasLabel ? "" : TextOfFatLabel(&boot.sector[mark + 5]);
}

std::string LabelInExfatRoot(const std::vector<uint8_t> &root)
{
    constexpr uint8_t kLabel = 0x83;
    constexpr size_t kMostUnits = 11;
    for (size_t at = 0; at + kEntryBytes <= root.size() && root[at] != 0; at += kEntryBytes) {
        if (root[at] == kLabel && root[at + 1] <= kMostUnits)
            return Wtf8FromUtf16({&root[at + 2], size_t{2} * root[at + 1]});
    }
    return {};
}

}  // namespace

std::string FatLabel(const ByteSource &volume)
{
    const auto boot = FindFatBoot(volume);
    if (!boot)
        return {};
    const FatGeometry &geometry = boot->geometry;
    const std::vector<uint8_t> root = ReadRoot(volume, geometry);
    if (geometry.kind == FatGeometry::Kind::kExfat)
        return LabelInExfatRoot(root);
    const std::string label = LabelInFatRoot(root);
    return label.empty() ? LabelInFatBootSector(*boot) : label;
}

}  // namespace vx
