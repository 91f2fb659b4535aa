#include "StretchPlan.h"

#include <algorithm>

namespace vx::bitlocker {
namespace {

bool Contains(const std::vector<uint32_t> &indices, uint32_t index)
{
    return std::find(indices.begin(), indices.end(), index) != indices.end();
}

}  // namespace

StretchPlan::StretchPlan(const std::vector<MetadataBlock> &copies, const KeyList &keys)
{
    for (const MetadataBlock &copy : copies)
        for (const Protector &protector : copy.protectors)
            if (IsStretched(protector.kind) && protector.salt && protector.wrappedMasterKey)
                AddTarget(copy, protector);
    Plan(keys);
}

void StretchPlan::AddTarget(const MetadataBlock &copy, const Protector &protector)
{
    const auto next = static_cast<uint32_t>(_targets.size());
    const auto [place, isNew] = _indices.emplace(std::pair(protector.kind, *protector.salt), next);
    const uint32_t index = place->second;
    if (isNew) {
        _targets.push_back({protector.kind, *protector.salt, {}});
        Indices &ofKind = _ofKind[protector.kind];
        if (ofKind.size() < kMostSalts)
            ofKind.push_back(index);
    }
    _targets[index].places.push_back({&copy, &protector});
    Indices &ofIdentifier = _ofIdentifier[protector.identifier.bytes];
    if (!Contains(ofIdentifier, index) && ofIdentifier.size() < kMostSalts)
        ofIdentifier.push_back(index);
}

StretchPlan::Indices StretchPlan::NamedBy(const KeyList::Label &label) const
{
    Indices named;
    for (const Guid &identifier : label.identifiers) {
        const auto found = _ofIdentifier.find(identifier.bytes);
        if (found == _ofIdentifier.end())
            continue;
        for (const uint32_t index : found->second)
            if (_targets[index].kind == label.kind && !Contains(named, index))
                named.push_back(index);
    }
    return named;
}

void StretchPlan::Plan(const KeyList &keys)
{
    std::vector<Step> unnamed;
    std::vector<Step> others;
    for (uint32_t key = 0; key < keys.Size(); ++key) {
        const KeyList::Label &label = keys.At(key);
        const auto ofKind = _ofKind.find(label.kind);
        if (ofKind == _ofKind.end())
            continue;
        const Indices named = NamedBy(label);
        for (const uint32_t target : named)
            _steps.push_back({key, target});
        std::vector<Step> &later = label.identifiers.empty() ? unnamed : others;
        for (const uint32_t target : ofKind->second)
            if (!Contains(named, target))
                later.push_back({key, target});
        _leftOut += named.empty() && !label.identifiers.empty() ? 1 : 0;
    }
    _steps.insert(_steps.end(), unnamed.begin(), unnamed.end());
    if (others.size() > kMostOthers)
        return;
    _steps.insert(_steps.end(), others.begin(), others.end());
    _leftOut = 0;
}

}  // namespace vx::bitlocker
