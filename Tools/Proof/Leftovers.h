// What killed runs have left in a destination: files that had not arrived, under their hidden
// names.
#pragma once

#include "ArrivalSink.h"

namespace vx {

class PartialNames;

// Deletes the leftovers of the plan's files. Only ordinary files of this user with one name are
// deleted, none that another export is writing, and none that has the name of a file of the plan.
// Before any file arrives: another file's hidden name can be the same. Returns how many were
// deleted.
int64_t RemoveLeftovers(const ExportScene &scene, const PartialNames &partials);

}  // namespace vx
