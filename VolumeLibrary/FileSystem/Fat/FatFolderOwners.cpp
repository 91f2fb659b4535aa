#include "FatFolderOwners.h"

namespace vx {

bool FatFolderOwners::Claim(const Way &way, const std::vector<Piece> &pieces)
{
    const MutexLock lock(_mutex);
    bool isKnown = false;
    for (const Piece &piece : pieces) {
        const Owner owner = OwnerOf(piece, way);
        if (owner == Owner::kAnother)
            return false;
        isKnown = isKnown || owner == Owner::kThisWay;
    }
    if (isKnown)
        return true;
    if (pieces.size() > kMostPieces - _owned.Size())
        return false;
    for (const Piece &piece : pieces)
        _owned.Add({piece, way});
    return true;
}

FatFolderOwners::Owner FatFolderOwners::OwnerOf(const Piece &piece, const Way &way) const
{
    bool isThisWay = false;
    const bool isAnother = _owned.HasBelow({{piece.end, piece.end}, {}}, [&](const Owned &owned) {
        const bool overlaps = owned.piece.end > piece.begin;
        isThisWay = isThisWay || (overlaps && owned.way == way);
        return overlaps && !(owned.way == way);
    });
    if (isAnother)
        return Owner::kAnother;
    return isThisWay ? Owner::kThisWay : Owner::kNobody;
}

}  // namespace vx
