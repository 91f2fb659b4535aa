// Writes small NTFS volumes byte by byte, for what programs do not make on demand, such as a file
// in several records, or never make.
//
// Clusters, records and index blocks have 1024 bytes each. The MFT lies in one piece after the
// first clusters; what a test adds begins at kFirstFree.
#pragma once

#include "NtfsRecord.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

class NtfsWriter {
public:
    using Bytes = std::vector<uint8_t>;

    static constexpr size_t kClusterBytes = 1024;
    static constexpr uint64_t kTable = 4;     // the first cluster of the MFT
    static constexpr uint64_t kRecords = 64;  // that the MFT has room for
    static constexpr uint64_t kFirstFree = kTable + kRecords;
    static constexpr uint64_t kRoot = 5;            // the record of the root folder
    static constexpr uint64_t kFirstOrdinary = 24;  // the first record for the user's files

    struct Run {
        uint64_t cluster = 0;  // 0: a hole
        uint64_t length = 0;   // clusters
    };
    struct Stream {
        NtfsType type = NtfsType::kData;
        std::u16string name;
        uint64_t firstCluster = 0;
        uint64_t size = 0;
        std::vector<Run> runs;
        uint16_t flags = 0;
        uint16_t compressionShift = 0;
    };

    // A volume with the record of the MFT and nothing else.
    explicit NtfsWriter(uint64_t clusters = 512);

    // Attributes, for PutFile and PutFolder.
    static Bytes Resident(NtfsType type, const Bytes &value, const std::u16string &name = {});
    static Bytes InRuns(const Stream &stream);
    static Bytes Data(const std::string &contents);
    // The reparse point of a file that Windows packed; provider: 2 for one that holds its data.
    static Bytes PackedPoint(uint32_t packing, uint32_t provider = 2, uint32_t version = 1);
    // The unnamed stream of such a file: a hole.
    static Bytes Hole(uint64_t size);
    // An entry of an attribute list.
    static Bytes Listed(NtfsType type, const std::u16string &name, uint64_t firstCluster,
                        uint64_t record);
    // A file name attribute.
    static Bytes OwnName(const std::u16string &name, uint64_t parent = kRoot);
    // Entries of an index; blockBelow: negative for none; parent: the folder of the index.
    static Bytes Name(uint64_t record, const std::u16string &name, int64_t blockBelow = -1,
                      uint64_t parent = kRoot);
    static Bytes Last(int64_t blockBelow = -1);
    // The root of an index.
    static Bytes IndexRoot(const std::vector<Bytes> &lines);
    static Bytes Joined(const std::vector<Bytes> &parts);

    // base: the base record, for a record that continues another one.
    void PutFile(uint64_t record, const std::vector<Bytes> &attributes, uint64_t base = 0);
    void PutFolder(uint64_t record, const std::vector<Bytes> &attributes);
    // An index block with that number, at any cluster.
    void PutBlock(uint64_t cluster, uint64_t number, const std::vector<Bytes> &lines);
    void PutBytes(uint64_t cluster, const std::string &bytes);

    // The stored attributes of a file or folder that was put.
    void SetAttributes(uint64_t record, uint32_t attributes);

    const Bytes &Image() const { return _image; }

private:
    void PutRecord(uint64_t number, uint16_t flags, const std::vector<Bytes> &attributes,
                   uint64_t base);
    void PutWithFixups(uint64_t cluster, Bytes bytes, size_t fixups);

    Bytes _image;
};

}  // namespace vx
