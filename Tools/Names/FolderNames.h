// Chooses names for the entries of one folder that cannot keep theirs in the destination: too long,
// refused, or taken for the name of an earlier entry. The number that tells two of them apart
// avoids the other names of the folder.
//
// Ownership: borrows the plan and the traits. Memory: 16 bytes for each entry of the folder while
// names are chosen, if the destination merges names. Threads: one at a time; short-lived.
#pragma once

#include "DestinationTraits.h"
#include "ExportPlan.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vx {

class FolderNames {
public:
    using Number = ExportPlan::Number;
    using Names = std::unordered_map<Number, std::string>;

    // fold: of a path below the folder; paths are equal in the destination if they are when folded.
    using Fold = std::string (*)(const DestinationTraits &traits, const std::string &path);

    FolderNames(const ExportPlan &plan, Number folder, const DestinationTraits &traits, Fold fold)
        : _plan(plan), _folder(plan.At(folder)), _traits(traits), _fold(fold)
    {
    }

    // Adds the new names: paths below the folder, "a/b" for one with separators.
    void Choose(Names *names);

private:
    bool MustChange(Number number) const;
    std::vector<Number> ChangingNames() const;
    void TakeKeptNames(std::vector<Number> *changing);
    bool Take(const std::string &path);
    size_t HashOf(const std::string &path) const;
    std::string PathFor(Number number);
    std::string NameFor(const std::string &place, const std::string &name,
                        const std::string &original);
    std::string FreeName(const std::string &place, const std::string &name);

    const ExportPlan &_plan;
    const PlanEntry &_folder;
    const DestinationTraits &_traits;
    const Fold _fold;
    std::vector<size_t> _kept;                   // hashes of folded paths below the folder, sorted
    std::unordered_set<size_t> _given;           // the same of new names
    std::map<std::string, std::string> _chosen;  // by place and original name
    std::map<std::string, unsigned> _numbers;    // the last one, by place and cut name
};

}  // namespace vx
