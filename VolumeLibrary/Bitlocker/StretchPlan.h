// Which keys are stretched for which salts, and in which order, to find the one that opens a
// volume.
//
// First each key for the protectors that it names; then those that name none, for every protector
// of their kind; last those that name others, in case a name is wrong. Of these no more than
// kMostOthers stretchings are planned, or none: a list of a thousand keys of other volumes is not
// tried for an hour.
// The copies of the metadata must outlive the plan.
#pragma once

#include "KeyList.h"
#include "MetadataBlock.h"

#include <map>

namespace vx::bitlocker {

class StretchPlan {
public:
    // The most stretchings of one key: a volume that claims hundreds of protectors would keep the
    // caller waiting for minutes.
    static constexpr size_t kMostSalts = 32;
    static constexpr size_t kMostOthers = 32;

    // What a key may open.
    struct Place {
        const MetadataBlock *copy = nullptr;
        const Protector *protector = nullptr;
    };
    struct Target {
        ProtectorKind kind = ProtectorKind::kClearKey;
        Salt salt{};
        std::vector<Place> places;
    };
    struct Step {
        uint32_t key = 0;     // in the list
        uint32_t target = 0;  // in Targets()
    };

    StretchPlan(const std::vector<MetadataBlock> &copies, const KeyList &keys);

    const std::vector<Target> &Targets() const { return _targets; }
    const std::vector<Step> &Steps() const { return _steps; }
    // How many keys are not tried, since they are for other volumes by what they name.
    size_t LeftOut() const { return _leftOut; }

private:
    using Indices = std::vector<uint32_t>;

    void AddTarget(const MetadataBlock &copy, const Protector &protector);
    // The targets that the key names, of its kind.
    Indices NamedBy(const KeyList::Label &label) const;
    void Plan(const KeyList &keys);

    std::vector<Target> _targets;
    std::map<std::pair<ProtectorKind, Salt>, uint32_t> _indices;
    std::map<ProtectorKind, Indices> _ofKind;  // the first kMostSalts
    std::map<std::array<uint8_t, 16>, Indices> _ofIdentifier;
    std::vector<Step> _steps;
    size_t _leftOut = 0;
};

}  // namespace vx::bitlocker
