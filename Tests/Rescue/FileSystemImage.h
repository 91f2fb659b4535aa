// An image of one file system with a RescueTree in it, and where on it everything lies: found by
// the marks in the files' contents and by names, not by a reader of the file system.
//
// Made once and shared; only the image's bytes are given up when they have been looked through.
// Errors: what cannot be made throws std::runtime_error.
#pragma once

#include "RescueTree.h"
#include "TestImage.h"

#include <map>
#include <string>
#include <vector>

namespace vx {

constexpr uint64_t kSectorBytes = 512;

// Bytes of a file that one sector holds, or that are lost with it.
struct OwnedSector {
    uint64_t place = 0;  // in the image, bytes
    unsigned file = 0;
    uint64_t from = 0;
    uint64_t to = 0;
};

class FileSystemImage {
public:
    enum class Kind { kNtfs, kFat16, kFat32, kExfat };

    // Whether the programs that it takes are on this machine.
    static bool CanMake(Kind kind);

    // withNames: few small files, with the names that are hard to export.
    FileSystemImage(Kind kind, bool withNames);

    const TestImage &Image() const { return _image; }
    const RescueTree &Tree() const { return _tree; }
    const std::vector<OwnedSector> &Sectors() const { return _sectors; }
    // Places of what is not a file: "boot", "entry", "record", "table", if there is one.
    const std::map<std::string, uint64_t> &Landmarks() const { return _landmarks; }

private:
    void MakeNtfs();
    void MakeFat(const std::string &options, int mebibytes);
    void MakeExfat();
    void Survey(Kind kind);
    void FindMarks(const std::string &bytes);
    void FindPacked();
    void FindEntries(Kind kind, const std::string &bytes);
    void FindNtfsEntries(const std::string &bytes);
    void FindTable(Kind kind, const std::string &bytes);

    const TestImage _image{};
    RescueTree _tree;
    std::vector<OwnedSector> _sectors;
    std::map<std::string, uint64_t> _landmarks;
};

}  // namespace vx
