// Chooses names for the entries of one folder that cannot keep theirs in the destination. The
// number that tells two of them apart avoids the other names of the folder.
//
// Ownership: borrows the plan. Threads: one at a time; short-lived.
#pragma once

#include "ExportPlan.h"

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace vx {

class FolderNames {
public:
    using Number = ExportPlan::Number;
    using Names = std::unordered_map<Number, std::string>;

    // longest: in bytes, of one name.
    FolderNames(const ExportPlan &plan, Number folder, size_t longest)
        : _plan(plan), _folder(plan.At(folder)), _longest(longest)
    {
    }

    // Adds the new names: paths below the folder, "a/b" for one with separators.
    void Choose(Names *names);

private:
    bool MustChange(Number number) const;
    void NoteKeptNames(const Names &changing);
    std::string PathFor(Number number);
    std::string NameFor(const std::string &place, const std::string &name,
                        const std::string &original);
    std::string FreeName(const std::string &place, const std::string &name);

    const ExportPlan &_plan;
    const PlanEntry &_folder;
    const size_t _longest;
    std::unordered_set<std::string> _taken;      // below the folder
    std::map<std::string, std::string> _chosen;  // by place and original name
    std::map<std::string, unsigned> _numbers;    // the last one, by place and cut name
};

}  // namespace vx
