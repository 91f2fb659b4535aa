// What a disk, a volume or an image holds that this library does not open: its name, and the next
// step for the user. Consulted after everything that opens.
//
// A kind is recognised by bytes at a fixed place. They are documented publicly: LUKS, "On-Disk
// Format Specification" 1.2 and LUKS2; ext2 to 4, XFS, swap and md, the documentation of the
// Linux kernel; Btrfs, "On-disk Format"; LVM2, lvm(8) and its label; HFS Plus, Apple Technical
// Note 1150; APFS, "Apple File System Reference"; ISO 9660, ECMA-119; UDF, ECMA-167; dynamic
// disks, the PRIVHEAD of the Logical Disk Manager as the Linux kernel describes it; ReFS is
// recognised by FileSystemKind. tar, POSIX.1 ustar; ZIP, APPNOTE; gzip, RFC 1952; zstd, RFC 8878;
// xz, bzip2, 7z, RAR and LZ4, the notes on their formats; VHDX, [MS-VHDX]; QCOW and VDI, the
// documentation of QEMU; WIM, Microsoft's "Windows Imaging File Format"; AFF4, "AFF4 Standard" 1.0;
// L01, Lx01 and Ex01, the "Expert Witness Compression Format" papers; dmg, the trailer "koly" of
// UDIF.
//
// Threads: any. Errors: what cannot be read is not recognised.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"

#include <string>

namespace vx {

struct KnownContents {
    enum class Form {
        kVolume,     // a file system, or a disk or volume of another system
        kContainer,  // a file that has to be unpacked or converted first
        kBlank,
    };

    Form form = Form::kVolume;
    const char *name = nullptr;      // "a LUKS volume"
    const char *nextStep = nullptr;  // "open it with cryptsetup"

    // "it is a LUKS volume: open it with cryptsetup", "it holds only zeros, ..."
    std::string Sentence() const;
    // "a LUKS volume, 40.0 GiB: open it with cryptsetup"
    std::string Phrase(const std::string &size) const;

    // Null if it is nothing known. Reads what FindMarked and FindBlankContents do.
    static const KnownContents *Find(const ByteSource &source);
    // The same but for what is blank. Reads a few bytes at each of some forty places.
    static const KnownContents *FindMarked(const ByteSource &source);
    // The same for files that must be unpacked or converted. head: the first bytes of the file, of
    // which no more is read unless it is a ZIP archive.
    static const KnownContents *FindContainer(const ByteSource &file, ByteView head);
};

// Of partitions that are recognised by their type and not by what they hold.
extern const KnownContents kPartOfDynamicDisk;
extern const KnownContents kPartOfStorageSpaces;

}  // namespace vx
