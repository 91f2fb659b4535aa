// What volume-info says, as one JSON document for programs. docs/volumes.md has the names.
#pragma once

#include "DiskReport.h"
#include "DiskSearch.h"
#include "OpenedFacts.h"

#include <string>
#include <vector>

namespace vx {

// volume: the path that was described, as given. facts: null if nothing was opened.
// withPasswords: whether they were asked for.
std::string DiskJson(const std::string &volume, const DiskReport &report, const OpenedFacts *facts,
                     bool withPasswords);

std::string SearchJson(const std::string &disk, const DiskSearch &search);

}  // namespace vx
