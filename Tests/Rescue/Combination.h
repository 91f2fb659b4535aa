// One case of the suite: a volume, what is wrong with its disk, where it goes, and who exports it.
#pragma once

#include "DestinationScene.h"
#include "Oracle.h"
#include "SourceFault.h"

#include <ostream>
#include <string>
#include <vector>

namespace vx {

enum class Program { kExport, kVerify, kWindow };

struct Combination {
    std::string volume;
    SourceFault fault = SourceFault::kNone;
    DestinationCondition condition = DestinationCondition::kEmpty;
    Program program = Program::kExport;

    // "NtfsRaw_OneBadSector_EmptyFolder_Verify"
    std::string Name() const;
    friend void PrintTo(const Combination &one, std::ostream *out) { *out << one.Name(); }
};

// Each fault with each volume, each condition with each volume, and each condition with what can
// become of the disk in the meantime, by each program.
std::vector<Combination> AllCombinations();

}  // namespace vx
