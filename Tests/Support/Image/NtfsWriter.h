// Writes small NTFS volumes byte by byte: what no program makes on demand, such as a file in
// several records, and what no program makes at all.
//
// Clusters, records and blocks of an index have 1024 bytes each. The table of files lies in one
// piece behind the first clusters; what a test puts elsewhere begins at kFirstFree.
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
    static constexpr uint64_t kTable = 4;     // the first cluster of the table
    static constexpr uint64_t kRecords = 64;  // that the table has room for
    static constexpr uint64_t kFirstFree = kTable + kRecords;
    static constexpr uint64_t kRoot = 5;            // the record of the root folder
    static constexpr uint64_t kFirstOrdinary = 24;  // the first record for files of the user

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

    // A volume with the record of the table and nothing else.
    explicit NtfsWriter(uint64_t clusters = 512);

    // Attributes, for PutFile and PutFolder.
    static Bytes Resident(NtfsType type, const Bytes &value, const std::u16string &name = {});
    static Bytes InRuns(const Stream &stream);
    static Bytes Data(const std::string &contents);
    // A line of a list of attributes.
    static Bytes Listed(NtfsType type, const std::u16string &name, uint64_t firstCluster,
                        uint64_t record);
    // What the record of a file says of a name of it.
    static Bytes OwnName(const std::u16string &name, uint64_t parent = kRoot);
    // Lines of an index; blockBelow: negative for none; parent: the folder that it is of.
    static Bytes Name(uint64_t record, const std::u16string &name, int64_t blockBelow = -1,
                      uint64_t parent = kRoot);
    static Bytes Last(int64_t blockBelow = -1);
    // The attribute that an index begins with.
    static Bytes IndexRoot(const std::vector<Bytes> &lines);
    static Bytes Joined(const std::vector<Bytes> &parts);

    // base: of a record that goes on where another one ends.
    void PutFile(uint64_t record, const std::vector<Bytes> &attributes, uint64_t base = 0);
    void PutFolder(uint64_t record, const std::vector<Bytes> &attributes);
    // A block of an index that holds that number, at any cluster.
    void PutBlock(uint64_t cluster, uint64_t number, const std::vector<Bytes> &lines);
    void PutBytes(uint64_t cluster, const std::string &bytes);

    // Attributes that are stored of a file or folder that was put.
    void SetAttributes(uint64_t record, uint32_t attributes);

    const Bytes &Image() const { return _image; }

private:
    void PutRecord(uint64_t number, uint16_t flags, const std::vector<Bytes> &attributes,
                   uint64_t base);
    void PutWithFixups(uint64_t cluster, Bytes bytes, size_t fixups);

    Bytes _image;
};

}  // namespace vx
