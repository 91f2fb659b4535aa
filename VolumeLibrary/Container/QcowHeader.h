// The header of a QCOW2 image, with its extensions.
//
// Format: "The QCOW2 image format", docs/interop/qcow2.txt of QEMU; numbers are big-endian. The
// names of tables and fields are those of that text. Nothing is allocated by a number of the header
// but for 1 KiB of a name; of the extensions those in the first 64 KiB of the file count.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"

#include <string>
#include <string_view>

namespace vx {

// Places and sizes are in bytes, except where it says otherwise.
struct QcowHeader {
    static constexpr uint32_t kMostL1Entries = uint32_t{1} << 22;

    uint32_t version = 0;      // 2 or 3
    uint32_t clusterBits = 0;  // 9 to 21; a cluster has 2 to this power of bytes
    uint64_t diskBytes = 0;    // below 2^63
    uint64_t l1At = 0;
    uint32_t l1Entries = 0;  // at most kMostL1Entries
    uint64_t refcountTableAt = 0;
    uint32_t refcountTableClusters = 0;
    uint32_t refcountOrder = 4;  // a reference count has 2 to this power of bits; may be any number
    uint64_t snapshotsAt = 0;    // 0 if there is none
    bool isMarkedCorrupt = false;  // by the program that wrote it
    bool isZstd = false;           // how clusters are compressed, if they are; otherwise deflate
    bool hasSubclusters = false;   // of 32 to a cluster
    bool hasDataFile = false;      // the clusters lie in a file of their own
    std::string dataFile;          // its name; empty if it is not named
    std::string backingFile;       // the name of what is below; empty if there is nothing
    std::string backingFormat;     // "raw", "qcow2", ...; empty if it is not named

    uint64_t ClusterBytes() const { return uint64_t{1} << clusterBits; }
    uint64_t L2EntryBytes() const { return hasSubclusters ? 16 : 8; }
    uint64_t L2Entries() const { return ClusterBytes() / L2EntryBytes(); }
};

constexpr std::string_view kQcowMark("QFI\xFB", 4);

// Whether the first bytes of a file are those of a QCOW image, of version 1 too.
bool IsQcow(ByteView head);
// Whether all but the mark is as in the header of a QCOW2 image.
bool IsQcowBesideItsMark(ByteView head);

// Errors: those of the file's reads; kUnsupportedContainer for version 1, an encrypted image, an
// unknown version, feature or method of compression, each by name; kTruncatedImage if the file ends
// before the header or the L1 table does; DamagedQcow if the header contradicts itself.
Result<QcowHeader> ReadQcowHeader(const ByteSource &file);

// For a QCOW2 image that contradicts itself: kDamagedContainer.
Error DamagedQcow();

}  // namespace vx
