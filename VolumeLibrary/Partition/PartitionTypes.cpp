#include "PartitionTypes.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace vx {
namespace {

struct GptType {
    const char *guid;
    const char *name;
};

constexpr GptType kGptTypes[] = {
    {"EBD0A0A2-B9E5-4433-87C0-68B6B72699C7", "Basic data partition"},
    {"C12A7328-F81F-11D2-BA4B-00A0C93EC93B", "EFI system partition"},
    {"E3C9E316-0B5C-4DB8-817D-F92DF00215AE", "Microsoft reserved partition"},
    {"DE94BBA4-06D1-4D40-A16A-BFD50179D6AC", "Windows recovery partition"},
    {"5808C8AA-7E8F-42E0-85D2-E1E90434CFB3", "Dynamic disk metadata"},
    {"AF9B60A0-1431-4F62-BC68-3311714A69AD", "Dynamic disk data"},
    {"E75CAF8F-F680-4CEE-AFA3-B001E56EFC2D", "Storage Spaces"},
    {"558D43C5-A1AC-43C0-AAC8-D1472B2923D1", "Storage Replica"},
    {"21686148-6449-6E6F-744E-656564454649", "BIOS boot partition"},
    {"024DEE41-33E7-11D3-9D69-0008C781F39F", "MBR partition scheme"},
    {"0FC63DAF-8483-4772-8E79-3D69D8477DE4", "Linux filesystem"},
    {"0657FD6D-A4AB-43C4-84E5-0933C84B4F4F", "Linux swap"},
    {"A19D880F-05FC-4D3B-A006-743F0F84911E", "Linux RAID"},
    {"E6D6D379-F507-44C2-A23C-238F2A3DF928", "Linux LVM"},
    {"CA7D7CCB-63ED-4C53-861C-1742536059CC", "Linux LUKS"},
    {"8DA63339-0007-60C0-C436-083AC8230908", "Linux reserved"},
    {"933AC7E1-2EB4-4F13-B844-0E14E2AEF915", "Linux /home"},
    {"3B8F8425-20E0-4F3B-907F-1A25A76F98E8", "Linux /srv"},
    {"4D21B016-B534-45C2-A9FB-5C16E091FD2D", "Linux /var"},
    {"BC13C2FF-59E6-4262-A352-B275FD6F7172", "Linux extended boot"},
    {"4F68BCE3-E8CD-4DB1-96E7-FBCAF984B709", "Linux root (x86-64)"},
    {"44479540-F297-41B2-9AF7-D131D5F0458A", "Linux root (x86)"},
    {"B921B045-1DF0-41C3-AF44-4C6F280D3FAE", "Linux root (ARM-64)"},
    {"48465300-0000-11AA-AA11-00306543ECAC", "Apple HFS+"},
    {"7C3457EF-0000-11AA-AA11-00306543ECAC", "Apple APFS"},
    {"426F6F74-0000-11AA-AA11-00306543ECAC", "Apple boot"},
    {"52414944-0000-11AA-AA11-00306543ECAC", "Apple RAID"},
    {"53746F72-6167-11AA-AA11-00306543ECAC", "Apple Core Storage"},
    {"FE3A2A5D-4F32-41A7-B725-ACCC3285A309", "ChromeOS kernel"},
    {"3CB8E202-3B7E-47DD-8A3C-7FF2A13CFCEC", "ChromeOS root"},
    {"516E7CB4-6ECF-11D6-8FF8-00022D09712B", "FreeBSD data"},
    {"516E7CB6-6ECF-11D6-8FF8-00022D09712B", "FreeBSD UFS"},
    {"516E7CBA-6ECF-11D6-8FF8-00022D09712B", "FreeBSD ZFS"},
    {"6A898CC3-1DD2-11B2-99A6-080020736631", "Solaris /usr or ZFS"},
    {"AA31E02A-400F-11DB-9590-000C2911D1B8", "VMware VMFS"},
};

struct MbrType {
    uint8_t number;
    const char *name;
};

constexpr MbrType kMbrTypes[] = {
    {0x01, "FAT12"},
    {0x04, "FAT16, below 32 MiB"},
    {0x06, "FAT16"},
    {0x07, "NTFS or exFAT"},
    {0x0B, "FAT32"},
    {0x0C, "FAT32 (LBA)"},
    {0x0E, "FAT16 (LBA)"},
    {0x11, "Hidden FAT12"},
    {0x12, "Service partition"},
    {0x14, "Hidden FAT16, below 32 MiB"},
    {0x16, "Hidden FAT16"},
    {0x17, "Hidden NTFS or exFAT"},
    {0x1B, "Hidden FAT32"},
    {0x1C, "Hidden FAT32 (LBA)"},
    {0x1E, "Hidden FAT16 (LBA)"},
    {0x27, "Windows recovery partition"},
    {0x42, "Dynamic disk"},
    {0x82, "Linux swap"},
    {0x83, "Linux filesystem"},
    {0x8E, "Linux LVM"},
    {0xA5, "FreeBSD"},
    {0xA6, "OpenBSD"},
    {0xA9, "NetBSD"},
    {0xAF, "Apple HFS+"},
    {0xBF, "Solaris"},
    {0xDE, "Dell utility partition"},
    {0xEF, "EFI system partition"},
    {0xFB, "VMware VMFS"},
    {0xFD, "Linux RAID"},
};

}  // namespace

std::string GptTypeName(const Guid &type)
{
    const std::string guid = type.Capitals();
    const auto known = std::find_if(std::begin(kGptTypes), std::end(kGptTypes),
                                    [&](const GptType &one) { return guid == one.guid; });
    return known != std::end(kGptTypes) ? known->name : guid;
}

std::string MbrTypeName(uint8_t type)
{
    const auto known = std::find_if(std::begin(kMbrTypes), std::end(kMbrTypes),
                                    [&](const MbrType &one) { return type == one.number; });
    if (known != std::end(kMbrTypes))
        return known->name;
    char number[8];
    std::snprintf(number, sizeof number, "0x%02X", unsigned{type});
    return number;
}

}  // namespace vx
