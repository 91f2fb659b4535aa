// What kind of file holds a disk: found by its first bytes, of a VHD image also by its last ones,
// of a VHDX image also by its headers, and of a split image by its name and the files beside it.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"
#include "KnownContents.h"
#include "PartNames.h"

#include <optional>
#include <string>
#include <string_view>

namespace vx {

enum class ContainerKind {
    kRaw,    // the disk itself, and anything that is not recognised
    kSplit,  // the first of several parts of a raw image
    kEwf,    // E01 or S01
    kVhd,
    kVhdx,
    kVmdk,  // a file that grows, or a text that names the files of an image
    kQcow,
    kVdi,
    kUnsupported,  // a known format that this library does not open
};

// The bytes by which an image is recognised, where they should stand and do not.
struct LostMark {
    ContainerKind kind = ContainerKind::kRaw;
    uint64_t at = 0;
    std::string_view bytes;
    const char *format = nullptr;  // "VMDK"
};

struct FoundContainer {
    ContainerKind kind = ContainerKind::kRaw;
    const KnownContents *unsupported = nullptr;  // kUnsupported: which format
    std::optional<PartNames> parts = {};         // kRaw, kSplit: if the name is that of a part
    std::optional<LostMark> lostMark = {};       // recognised without it, by what is around it
    // kRaw: "VMDK" if the name is that of such an image and the file does not begin as a disk.
    const char *named = nullptr;
};

// file: what lies at the path. A file with the mark of a boot sector is never kUnsupported,
// whatever its first bytes resemble. Bytes that cannot be read are not recognised.
FoundContainer FindContainerKind(const std::string &path, const ByteSource &file);

}  // namespace vx
