// Which entry the clusters of a folder belong to. FAT and exFAT do not record it: the entry by
// which a folder is opened first keeps it, and neither the same folder nor one that shares a
// cluster with it opens by another one. So each cluster is listed below one path, however the
// entries of a damaged volume lead to each other.
//
// Threads: any number at a time. Memory: kMostPieces.
#pragma once

#include "FileSystem.h"
#include "Mutex.h"
#include "SortedRuns.h"

#include <vector>

namespace vx {

class FatFolderOwners {
public:
    // A disk of a million folders takes 24 MiB.
    static constexpr size_t kMostPieces = size_t{1} << 20;

    // Clusters that follow each other.
    struct Piece {
        uint32_t begin = 0;
        uint32_t end = 0;
    };

    // Whether the folder is that of this way. False also when there is no room for more.
    bool Claim(const Way &way, const std::vector<Piece> &pieces);

private:
    struct Owned {
        Piece piece;
        Way way;

        bool operator<(const Owned &other) const { return piece.begin < other.piece.begin; }
    };

    enum class Owner { kNobody, kThisWay, kAnother };
    Owner OwnerOf(const Piece &piece, const Way &way) const VX_REQUIRES(_mutex);

    Mutex _mutex;
    SortedRuns<Owned> _owned VX_GUARDED_BY(_mutex);
};

}  // namespace vx
