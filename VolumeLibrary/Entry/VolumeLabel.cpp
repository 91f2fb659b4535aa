#include "VolumeLabel.h"

#include "FatLabel.h"
#include "NtfsLabel.h"
#include "VolumeOpener.h"

namespace vx {

std::string VolumeLabel(const ByteSource &volume, FileSystemKind kind)
{
    switch (kind) {
    case FileSystemKind::kNtfs:
        return NtfsLabel(volume);
    case FileSystemKind::kFat:
    case FileSystemKind::kExfat:
        return FatLabel(volume);
    case FileSystemKind::kEncrypted:
        return bitlocker::VolumeOpener::Describe(volume);
    case FileSystemKind::kRefs:
    case FileSystemKind::kUnknown:
    case FileSystemKind::kUnreadable:
        break;
    }
    return {};
}

}  // namespace vx
