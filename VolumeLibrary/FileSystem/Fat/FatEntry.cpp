#include "FatEntry.h"

#include "ByteReader.h"
#include "IVolume.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

constexpr uint8_t kReservedAttributes = 0xC0;

bool HasForbiddenLetters(const std::array<uint8_t, FatEntry::kShortBytes> &name)
{
    return name[0] == ' ' || std::any_of(name.begin(), name.end(), [](uint8_t letter) {
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

FatEntry::FatEntry(const FolderBytes::Entry &bytes)
{
    ByteReader reader(bytes);
    for (uint8_t &letter : shortName)
        letter = reader.U8();
    attributes = reader.U8();
    smallLetters = reader.U8();
    createdHundredths = reader.U8();
    createdTime = reader.U16();
    createdDate = reader.U16();
    accessedDate = reader.U16();
    clusterHigh = reader.U16();
    writtenTime = reader.U16();
    writtenDate = reader.U16();
    clusterLow = reader.U16();
    size = reader.U32();
}

bool FatEntry::IsFolder() const
{
    return (attributes & kVolumeAttributeDirectory) != 0;
}

uint32_t FatEntry::FirstCluster(FatGeometry::Kind kind) const
{
    const uint32_t high = kind == FatGeometry::Kind::k32 ? clusterHigh : 0;
    return high << 16 | clusterLow;
}

int FatEntry::Oddities(const FatGeometry &geometry) const
{
    const uint32_t cluster = FirstCluster(geometry.kind);
    return int{HasForbiddenLetters(shortName)} + int{(attributes & kReservedAttributes) != 0} +
           int{cluster != 0 && !geometry.IsOnVolume(cluster)} +
           int{!IsTimePossible(writtenDate, writtenTime)} + int{IsFolder() && size != 0};
}

bool FatEntry::HasControlsInName() const
{
    return std::any_of(shortName.begin(), shortName.end(), [&](const uint8_t &letter) {
        return letter < ' ' && !(&letter == shortName.data() && letter == kStandsForE5);
    });
}

}  // namespace vx
