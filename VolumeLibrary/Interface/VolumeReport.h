// What the volume library offers beyond IVolume: why an entry cannot be exported, whether a folder
// was listed whole, which bytes of a file could not be read, whether the disk is still there, the
// streams with names that a file or folder of NTFS has beside its data, what the file system and
// the encryption are, and a way to cancel an opening. For every program that loads the library; the
// header needs only IVolume.h.
//
// Each function is optional: a program looks it up by its name and does without it where it is
// missing. volume is always one that this library opened, and a handle one of its handles that is
// still open.
//
// Threads: as the operations of IVolume; a handle is used by one thread at a time.
// Errors: a function that returns bool returns false if it has no answer, for null pointers too,
// and leaves its arguments unchanged. Nothing is thrown.
#pragma once

#include "IVolume.h"

// Why an entry's data cannot be read, or not all of it. The numbers never change their meaning.
enum class VolumeObstacle : uint32_t {
    kNone = 0,
    kLink = 1,                 // a symbolic link, a junction or a mount point: it leads elsewhere
    kPacked = 2,               // packed by Windows in an unknown form or into a WIM image
    kOnlyInCloud = 3,          // a cloud drive's placeholder: the data is not on this disk
    kDeduplicated = 4,         // its data lies in a store of Windows Server
    kEncryptedFile = 5,        // encrypted by Windows on its own (EFS)
    kUnknownReparsePoint = 6,  // a reparse point of another kind, without data of its own here
    kDamaged = 7,              // its records on the disk contradict each other
    kUnreadable = 8,           // blocks that it needs cannot be read
    kDeviceGone = 9,           // the disk went away
    kSameName = 10,            // an earlier entry of its folder has the same name
    kNoPermission = 11,        // a plain folder's entry that this user may not read
    kNotThere = 12,            // nothing has this path
    kOutOfMemory = 13,
};

// IO_REPARSE_TAG_SYMLINK, and the bit of every tag that stands for another name of something else
// (Microsoft Learn, "Reparse Point Tags": name surrogate).
constexpr uint32_t kReparseTagSymlink = 0xA000000C;
constexpr uint32_t kReparseTagNameSurrogate = 0x20000000;

struct VolumeEntryReport {
    static constexpr uint32_t kTargetUnits = 4096;

    VolumeObstacle obstacle = VolumeObstacle::kNone;
    uint32_t reparseTag = 0;  // 0 without a reparse point
    // Where a link leads, as the disk has it; zero-terminated UTF-16, cut if it is longer.
    char16_t target[kTargetUnits] = {};
};

struct VolumeListingReport {
    // False: entries are missing, for this reason.
    bool isWhole = true;
    VolumeObstacle reason = VolumeObstacle::kNone;
    // A lower bound; 0 if it is not known.
    uint64_t missingEntries = 0;
    // Of the listed entries: those that were found although the folder's own record of them is
    // damaged. They are whole; their folder is not.
    uint64_t recoveredEntries = 0;
};

// Called for each range of a file, in the file's order, in bytes; ranges do not touch each other.
using VolumeRangeFunction = void (*)(void *context, uint64_t offset, uint64_t length);

// "volume_library_describe_entry". path: as for IVolume::OpenFile; of a file or a folder.
using VolumeLibraryDescribeEntryFunction = bool (*)(IVolume *volume, const char16_t *path,
                                                    VolumeEntryReport *report);
// "volume_library_describe_listing". search: call it when FindNextFile has answered false and
// before FindClose; before the end it covers what has been read so far.
using VolumeLibraryDescribeListingFunction = bool (*)(IVolume *volume, VolumeHandle search,
                                                      VolumeListingReport *report);
// "volume_library_unread_ranges". Reports what could not be read through this handle so far and was
// given as zeros.
using VolumeLibraryUnreadRangesFunction = bool (*)(IVolume *volume, VolumeHandle file,
                                                   VolumeRangeFunction range, void *context);
// Called for each place of a file, in the file's order: the bytes at this position of the file are
// stored at this offset of the disk or image. Of an encrypted volume a place consists of whole
// sectors, and may begin before the file's bytes and end after them.
using VolumePlaceFunction = void (*)(void *context, uint64_t position, uint64_t offset,
                                     uint64_t length);

// "volume_library_file_places". A compressed or packed file has the places of its stored bytes; one
// that is stored in a table has none, nor has a file of a plain folder. Reads nothing.
using VolumeLibraryFilePlacesFunction = bool (*)(IVolume *volume, VolumeHandle file,
                                                 VolumePlaceFunction place, void *context);
// "volume_library_visit_tables_read". What was read of the disk so far but for the contents of
// files: partition tables, metadata, records and folders. In the disk's order, rounded to 4 KiB or,
// if there is very much of it, more. Answers only if VolumeOpeningOptions::recordsReads was set.
using VolumeLibraryVisitTablesReadFunction = bool (*)(IVolume *volume, VolumeRangeFunction range,
                                                      void *context);

// "volume_library_is_gone". Whether the disk or image went away; from then on every operation fails
// at once.
using VolumeLibraryIsGoneFunction = bool (*)(IVolume *volume);

// Called for each stream. name: zero-terminated UTF-16, as IVolume gives names; it stays as long as
// the call. size: in bytes, or kUnknownStreamSize if the record that holds it is damaged.
using VolumeStreamFunction = void (*)(void *context, const char16_t *name, uint64_t size);
constexpr uint64_t kUnknownStreamSize = ~uint64_t{0};

// "volume_library_visit_streams". path: as for IVolume::OpenFile; of a file or a folder, "/" for
// the root. Each name is visited once, without its colon; left out are the unnamed stream, which is
// the file's data, and the one that a packed file's data is read from. False, too, if streams may
// be missing among those that were visited: records are damaged, or a name cannot be part of a
// path.
using VolumeLibraryVisitStreamsFunction = bool (*)(IVolume *volume, const char16_t *path,
                                                   VolumeStreamFunction stream, void *context);
// "volume_library_open_stream". stream: a name as it was visited. handle receives one that is used
// and closed like that of IVolume::OpenFile. False if there is no such stream, or nothing of it can
// be read.
using VolumeLibraryOpenStreamFunction = bool (*)(IVolume *volume, const char16_t *path,
                                                 const char16_t *stream, VolumeHandle *handle);

enum class VolumeFileSystemState : uint32_t {
    kUnknown = 0,
    kClean = 1,
    kInUse = 2,    // it was not taken off in order: what was written last may be missing
    kDamaged = 3,  // it says itself that errors were found in it
};

constexpr uint64_t kUnknownBytes = ~uint64_t{0};

struct VolumeFileSystemReport {
    // Versions of this structure are told apart by its size.
    uint32_t bytes = sizeof(VolumeFileSystemReport);
    VolumeFileSystemState state = VolumeFileSystemState::kUnknown;
    char name[32] = {};    // "NTFS 3.1", "FAT32", "exFAT"; "folder"
    char label[128] = {};  // UTF-8; cut if it is longer
    char serial[32] = {};  // as Windows shows it, "1A2B-3C4D"; empty without one
    uint64_t totalBytes = kUnknownBytes;
    uint64_t freeBytes = kUnknownBytes;
    uint32_t clusterBytes = 0;  // 0 without clusters
};

// "volume_library_describe_file_system". What the file system says about itself, which takes as
// long as reading its map of free clusters. Unknown is what cannot be read; false only if there is
// none.
using VolumeLibraryDescribeFileSystemFunction = bool (*)(IVolume *volume,
                                                         VolumeFileSystemReport *report);

// How an encrypted volume was opened. UTF-8; empty if nothing was needed.
struct VolumeUnlockingReport {
    uint32_t bytes = sizeof(VolumeUnlockingReport);
    char kind[64] = {};        // the protector's, as DiskProtectorReport::kind; "vmk", "fvek"
    char identifier[40] = {};  // the protector's; empty for a raw key
    char method[32] = {};      // "AES-128-XTS"
    // 0: nothing that could be read shows that the key of the sectors ("fvek") is the one of this
    // volume, and everything that is decrypted with it may be wrong.
    uint32_t isKeyProven = 1;
};

// "volume_library_describe_unlocking". False for a volume that is not encrypted.
using VolumeLibraryDescribeUnlockingFunction = bool (*)(IVolume *volume,
                                                        VolumeUnlockingReport *report);

// Called for each recovery password. The texts stay as long as the call and are overwritten then.
// identifier: that of its protector. password: 48 digits in groups of six, with dashes.
using VolumeRecoveryPasswordFunction = void (*)(void *context, const char *identifier,
                                                const char *password);
// "volume_library_visit_recovery_passwords". Answers only if
// VolumeOpeningOptions::keepsRecoveryPasswords was set, and not for a volume that was opened with
// the key of its sectors, which does not lead to them. Each password is visited once. False, too,
// if one of them is damaged; the others are visited nevertheless.
using VolumeLibraryVisitRecoveryPasswordsFunction =
    bool (*)(IVolume *volume, VolumeRecoveryPasswordFunction password, void *context);

// Called once. key: the volume master key; it stays as long as the call and is overwritten then.
using VolumeMasterKeyFunction = void (*)(void *context, const uint8_t *key, uint64_t length);
// "volume_library_visit_master_key". So that the same volume can be opened once more without
// deriving its key again. Answers only if VolumeOpeningOptions::keepsMasterKey was set, and not for
// a volume that was opened with the key of its sectors. A library that has this function takes the
// kind of unlock "host-channel".
using VolumeLibraryVisitMasterKeyFunction = bool (*)(IVolume *volume, VolumeMasterKeyFunction key,
                                                     void *context);

// "volume_library_cancel_opening". Cancels every opening that is running on any thread of the
// process. One that derives a key from a password or searches for metadata ends with kCancelled
// within milliseconds; one that is past that may succeed. Later openings are not affected. Safe in
// a signal handler.
using VolumeLibraryCancelOpeningFunction = void (*)();
