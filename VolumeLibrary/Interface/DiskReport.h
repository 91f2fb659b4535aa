// What the volume library says about a disk or an image without a secret: container, partitions,
// and of each encrypted volume how it is encrypted and what opens it; and where on a disk encrypted
// volumes are whose first sector, or whose table of partitions, is lost. For every program that
// loads the library; the functions are optional, as those of VolumeReport.h.
//
// Texts are UTF-8, end with a zero and are never null; one that is unknown is empty. Names for
// programs are lower case with dashes and never change their meaning; new ones may come.
// Ownership: a report belongs to the library and stays until it is released.
// Threads: any; a report may be read on several. Units: bytes; times in 100 ns since 1601-01-01
// 00:00 UTC, 0 if unknown.
#pragma once

#include <cstdint>

// One way to unlock a volume.
struct DiskProtectorReport {
    const char *kind;      // for programs: "password", "recovery-password", "tpm-and-pin", "other"
    const char *kindText;  // in words: "TPM and PIN"
    uint32_t kindNumber;   // as the disk has it
    const char *identifier;  // "1A2B3C4D-...", in capitals; Windows shows the first eight digits
    uint64_t changed;
    // The kinds of unlock that the library takes for it, as its entry names them, separated by
    // spaces: "recovery recovery-file key-ring"; empty for one that it cannot use.
    const char *unlockKinds;
};

// One copy of the metadata that an encrypted volume consists of besides its sectors.
struct DiskMetadataReport {
    uint64_t offset;      // from the beginning of the volume
    const char *problem;  // why it cannot be used; empty if it is good
};

constexpr uint64_t kUnknownEncryptedBytes = ~uint64_t{0};

struct DiskEncryptionReport {
    const char *layout;  // for programs: "vista", "windows-7", "to-go"
    const char *method;  // "AES-128-XTS"; with all that follows unknown if no copy is good
    // For programs: "encrypted", "decrypted", "encrypting", "decrypting", "paused", "unknown".
    const char *state;
    uint64_t encryptedBytes;  // of DiskVolumeReport::bytes; or kUnknownEncryptedBytes
    const char *identifier;   // of the volume, as those of protectors
    const char *description;  // computer, drive and date as Windows noted them
    uint64_t created;
    uint32_t sectorBytes;  // that are encrypted as a unit; 0 if unknown
    bool hasClearKey;      // protection is suspended: it opens with "none"
    const DiskProtectorReport *protectors;
    uint64_t protectorCount;
    const DiskMetadataReport *copies;
    uint64_t copyCount;
};

// A partition, or the whole of a disk without partitions.
struct DiskVolumeReport {
    uint32_t number;  // 2 for PATH#2; 0 of what has none, since nothing here opens it
    uint64_t offset;
    uint64_t bytes;
    const char *kind;  // for programs: "encrypted", "ntfs", "fat", "exfat", "unreadable", "other"
    const char *kindText;  // in words: "a LUKS volume"
    const char *nextStep;  // of what does not open: "open it with cryptsetup"
    const char *label;
    const char *partitionName;
    const char *partitionType;               // "Basic data partition", or the type's number or GUID
    const DiskEncryptionReport *encryption;  // null if it is not encrypted or nothing of it is left
};

struct DiskReport {
    const char *container;            // for programs: "device", "raw", "split", "e01", "vhdx", ...
    const char *containerText;        // in words: "a dynamic VHDX image"
    uint64_t bytes;                   // of the disk
    uint32_t sectorBytes;             // its logical sectors; 0 if nothing says so
    const char *table;                // for programs: "gpt", "mbr"; empty without partitions
    const DiskVolumeReport *volumes;  // in the order of the disk
    uint64_t volumeCount;
    const char *const *warnings;  // damage that was noticed, a sentence each
    uint64_t warningCount;
};

// "volume_library_describe_disk". device: as for the library's entry. Returns a status of
// VolumeLibraryStatus.h; after another one than kSuccess report is null, and
// "volume_library_last_error" has the detail.
using VolumeLibraryDescribeDiskFunction = int32_t (*)(const char *device,
                                                      const DiskReport **report);
// "volume_library_release_disk_report". Null is allowed.
using VolumeLibraryReleaseDiskReportFunction = void (*)(const DiskReport *report);

// An encrypted volume that a search has found.
struct DiskFinding {
    uint64_t offset;      // of the volume's beginning on the disk
    uint64_t bytes;       // of the volume, as its metadata has it; 0 if unknown
    bool hasBootSector;   // its first sector is there
    bool isInTable;       // a table of partitions names it
    const char *address;  // what opens it, after the device's path: "@1048576", "#2"
    const char *method;   // as DiskEncryptionReport
    const char *identifier;
    const char *description;
    const uint64_t *copies;  // where its copies of the metadata are on the disk
    uint64_t copyCount;
};

// What a search has left out; volumes may be there that it did not find.
struct DiskSearchGaps {
    uint64_t unreadBytes;      // that could not be read
    uint64_t uncheckedCopies;  // places that look like metadata, after thousands of copies
};

// finding: stays as long as the call.
using DiskFindingFunction = void (*)(void *context, const DiskFinding *finding);

// "volume_library_search_disk". Reads the whole disk, and reports each encrypted volume once, in
// the order of the disk, when the search is at its end or was cancelled. What was passed over is
// counted in gaps, which may be null. Progress is reported as VolumeOpeningOptions.h says. Returns
// a status, kCancelled too.
using VolumeLibrarySearchDiskFunction = int32_t (*)(const char *device, DiskFindingFunction finding,
                                                    void *context, DiskSearchGaps *gaps);
