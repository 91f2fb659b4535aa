// The opened volume as the explorer sees it: a table of file operations in the style of
// Windows, and the record in which the volume reports one folder entry.
//
// Ownership: the volume library makes and owns the volume; everything above it borrows the
// pointer, never deletes it and keeps it until the process ends.
// Threads: no lock is taken around a call. The main thread lists folders while one worker
// thread opens, sizes, positions, reads and closes files, so an implementation must allow a
// listing and a read at the same time. One handle is used by one thread at a time.
// Text: zero-terminated UTF-16 in the machine's byte order. Paths are absolute from the
// volume's root, separated by "/" and have no "/" at the end: /Reports/2019/summary.txt
// Errors: reported by the results below and by nothing else; no operation throws.
#pragma once

#include <cstddef>
#include <cstdint>

// An open listing or an open file, opaque to the explorer; null means failure.
using VolumeHandle = void *;

// The bit of VolumeFindData::attributes that marks a folder.
constexpr uint32_t kVolumeAttributeDirectory = 0x10;

// One folder entry: 1128 bytes, little-endian, in the field order of WIN32_FIND_DATAW
// (Microsoft Learn, "WIN32_FIND_DATAW structure") with every time at a multiple of 8 bytes.
struct VolumeFindData {
    uint32_t attributes;
    alignas(8) uint64_t creationTime;  // the three times: 100 ns since 1601-01-01 00:00 UTC
    uint64_t lastAccessTime;
    uint64_t lastWriteTime;
    uint32_t sizeHigh;  // size in bytes: sizeHigh * 2^32 + sizeLow
    uint32_t sizeLow;
    uint64_t reserved;   // low 32 bits: the tag of a reparse point, or 0, as in dwReserved0
    char16_t name[540];  // at most 539 units and a terminating zero
};

static_assert(offsetof(VolumeFindData, attributes) == 0, "record layout");
static_assert(offsetof(VolumeFindData, creationTime) == 8, "record layout");
static_assert(offsetof(VolumeFindData, lastAccessTime) == 16, "record layout");
static_assert(offsetof(VolumeFindData, lastWriteTime) == 24, "record layout");
static_assert(offsetof(VolumeFindData, sizeHigh) == 32, "record layout");
static_assert(offsetof(VolumeFindData, sizeLow) == 36, "record layout");
static_assert(offsetof(VolumeFindData, reserved) == 40, "record layout");
static_assert(offsetof(VolumeFindData, name) == 48, "record layout");
static_assert(sizeof(VolumeFindData) == 1128, "record layout");

// The order of the operations is the order of the library's table. There is no virtual
// destructor, since it would take a place in that table. The explorer never calls the five
// reserved operations; they keep the places of operations that it has no use for.
class IVolume {
public:
    virtual void Reserved1() {}
    virtual void Reserved2() {}
    virtual void Reserved3() {}
    virtual void Reserved4() {}

    // Begins a listing. pattern: a folder's path followed by "/*"; "/*" for the root.
    // Returns a handle with the folder's first entry in record, or null if the folder cannot
    // be listed. A folder without entries: a handle, with the record left as it was given.
    virtual VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) = 0;
    // True: record holds one more entry, its name ended by a fresh zero. False: no more.
    virtual bool FindNextFile(VolumeHandle search, VolumeFindData *record) = 0;
    // Ends a listing; called once for each handle of FindFirstFile.
    virtual bool FindClose(VolumeHandle search) = 0;

    // Opens an existing file for reading at position 0, or returns null. The explorer always
    // passes 128, 3 and 25 as the three modes.
    virtual VolumeHandle OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                                  uint32_t mode3) = 0;
    virtual void Reserved5() {}
    // Reads up to count bytes at the position and moves it; done receives the bytes read.
    virtual bool ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done) = 0;
    // The same for writing; the explorer never calls it.
    virtual bool WriteFile(VolumeHandle file, const void *buffer, uint32_t count,
                           uint32_t *done) = 0;
    // Moves to the signed 64-bit distance in the two halves, counted from the start (origin 0)
    // or from the position (origin 1), and writes the resulting position back into the halves.
    virtual bool SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                                 uint32_t origin) = 0;
    // Writes the file's size in bytes into the two halves.
    virtual bool QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high) = 0;
    // Ends the use of a handle of OpenFile.
    virtual bool CloseHandle(VolumeHandle file) = 0;

protected:
    ~IVolume() = default;
};

// The entry of the volume library, resolved at run time under the name
// "open_bitlocker_device". The three texts are UTF-8. Returns 0 for success, and then stores
// the opened volume; the other statuses are the library's own.
using OpenBitlockerDeviceFunction = int32_t (*)(const char *first, const char *second,
                                                const char *third, IVolume **volume);
