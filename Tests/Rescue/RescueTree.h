// The files that are put into the volumes of the suite, and that an export has to bring back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

struct RescueFile {
    enum class Kind { kOrdinary, kCompressed, kSparse };

    unsigned number = 0;  // in its marks, from 1
    std::string path;     // on the volume, "/Deep/chunk.bin"
    uint64_t size = 0;
    Kind kind = Kind::kOrdinary;

    std::string Contents() const;
    // Where it lands below a destination, "/" in front.
    std::string LocalPath() const;
};

using RescueTree = std::vector<RescueFile>;

// Files of all sizes; with compressed and sparse ones where the file system has them.
RescueTree MakeRescueTree(bool withNtfsKinds);
// Few small files with names that are long, differ in case only or hold a backslash.
RescueTree MakeTreeOfNames(bool withCases);

// The files that the faults and conditions aim at.
constexpr const char *kLarge = "/large.bin";       // of several chunks
constexpr const char *kChunk = "/Deep/chunk.bin";  // of one chunk exactly
constexpr const char *kMiddling = "/middling.bin";
constexpr const char *kVictim = "/Many/VICTIM.BIN";  // in a folder of many
constexpr const char *kPacked = "/packed.bin";       // compressed
constexpr const char *kSparse = "/sparse.bin";

// Null if the tree has no such file.
const RescueFile *FileAt(const RescueTree &tree, const std::string &path);

}  // namespace vx
