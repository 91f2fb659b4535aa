#include "FatEntryCheck.h"

#include "IVolume.h"
#include "Little.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

constexpr size_t kShortBytes = 11;
constexpr uint8_t kStandsForE5 = 0x05;
constexpr uint8_t kReservedAttributes = 0xC0;

bool HasForbiddenLetters(const FolderBytes::Entry &entry)
{
    return entry[0] == ' ' ||
           std::any_of(entry.begin(), entry.begin() + kShortBytes, [](uint8_t letter) {
               return std::strchr("\"*+,/:;<=>?[\\]|\x7F", letter) != nullptr;
           });
}

bool IsTimePossible(uint16_t date, uint16_t time)
{
    const unsigned month = date >> 5 & 0xF;
    const bool isDate = date == 0 || (month >= 1 && month <= 12 && (date & 0x1F) != 0);
    return isDate && time >> 11 < 24 && (time >> 5 & 0x3F) < 60 && (time & 0x1F) < 30;
}

}  // namespace

int OdditiesOf(const FolderBytes::Entry &entry, const FatGeometry &geometry)
{
    const uint8_t *at = entry.data();
    const uint32_t cluster = FirstClusterOf(entry, geometry.kind);
    const bool isFolder = (at[11] & kVolumeAttributeDirectory) != 0;
    return int{HasForbiddenLetters(entry)} + int{(at[11] & kReservedAttributes) != 0} +
           int{cluster != 0 && !geometry.IsOnVolume(cluster)} +
           int{!IsTimePossible(Little16(at + 24), Little16(at + 22))} +
           int{isFolder && Little32(at + 28) != 0};
}

bool HasControlsInName(const FolderBytes::Entry &entry)
{
    return std::any_of(entry.begin(), entry.begin() + kShortBytes, [&](const uint8_t &letter) {
        return letter < ' ' && !(&letter == entry.data() && letter == kStandsForE5);
    });
}

uint32_t FirstClusterOf(const FolderBytes::Entry &entry, FatGeometry::Kind kind)
{
    const uint32_t low = Little16(entry.data() + 26);
    return kind == FatGeometry::Kind::k32
               ? low | static_cast<uint32_t>(Little16(entry.data() + 20)) << 16
               : low;
}

}  // namespace vx
