#include "RescueVolume.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace vx {

std::optional<Spot> RescueVolume::SpotOf(const std::string &volumePath, uint64_t offset) const
{
    const RescueFile *file = File(volumePath);
    for (const Piece &piece : pieces) {
        if (file != nullptr && piece.file == file->number && piece.from <= offset &&
            offset < piece.to)
            return Spot{piece.part, piece.place, piece.place + piece.length};
    }
    return std::nullopt;
}

std::vector<RescueVolume::Piece> RescueVolume::PiecesWith(const Spot &spot) const
{
    std::set<uint64_t> groups;
    for (const Piece &piece : pieces) {
        if (piece.part == spot.part && piece.place < spot.to &&
            spot.from < piece.place + piece.length)
            groups.insert(piece.group);
    }
    std::vector<Piece> found;
    std::copy_if(pieces.begin(), pieces.end(), std::back_inserter(found),
                 [&](const Piece &piece) { return groups.count(piece.group) != 0; });
    return found;
}

LostBytes RescueVolume::LostWith(const Spot &spot) const
{
    LostBytes lost;
    for (const Piece &piece : PiecesWith(spot))
        lost[piece.file].Add(piece.from, piece.to);
    return lost;
}

bool RescueVolume::LosesMoreWith(const Spot &spot) const
{
    return PiecesWith(spot).size() % groupPieces != 0;
}

}  // namespace vx
