// The hidden names that files have while they arrive, without those that belong to a file of the
// plan: with several files under way, one of them could take the place of the other.
//
// Memory: only for planned names that could be such a name. Threads: any.
#pragma once

#include "ExportPlan.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace vx {

class PartialNames {
public:
    PartialNames() = default;
    explicit PartialNames(const ExportPlan &plan);

    // Whether a file that arrives may have the name. A planned name in another case, or with other
    // characters beyond ASCII, counts as the same: the destination may not distinguish them.
    bool IsFree(const std::string &name) const;

private:
    std::unordered_set<std::string> _planned;
};

}  // namespace vx
