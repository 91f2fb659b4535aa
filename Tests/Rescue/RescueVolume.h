// A volume of the suite: what a program opens, the files that are on it, and which bytes of which
// file lie where on the disk below all encryption and all containers.
#pragma once

#include "Intervals.h"
#include "RescueTree.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vx {

// Some bytes of one of the files that the disk consists of.
struct Spot {
    size_t part = 0;
    uint64_t from = 0;
    uint64_t to = 0;
};

// Bytes of a file of the volume, by its number.
using LostBytes = std::map<unsigned, Intervals>;

struct RescueVolume {
    struct Piece {
        unsigned file = 0;
        uint64_t from = 0;
        uint64_t to = 0;
        size_t part = 0;
        uint64_t place = 0;  // in the part
        uint64_t length = 0;
        uint64_t group = 0;  // of what can be read only together
    };

    std::string name;
    std::string path;  // what is opened
    std::string unlockKind = "none";
    std::string secret;
    bool isFolder = false;
    RescueTree tree;
    std::vector<std::string> contents;  // of the tree's files
    std::vector<std::string> parts;     // paths
    std::vector<Piece> pieces;
    std::map<std::string, Spot> landmarks;
    size_t groupPieces = 1;  // how many make up a group that holds nothing but files

    // What can only be read together with the spot.
    std::vector<Piece> PiecesWith(const Spot &spot) const;
    const RescueFile *File(const std::string &volumePath) const { return FileAt(tree, volumePath); }
    // Where the byte of the file lies; nothing if that is not known.
    std::optional<Spot> SpotOf(const std::string &volumePath, uint64_t offset) const;
    // What of which files cannot be read when the spot cannot.
    LostBytes LostWith(const Spot &spot) const;
    // Whether something is lost with the spot that belongs to no file.
    bool LosesMoreWith(const Spot &spot) const;
};

}  // namespace vx
