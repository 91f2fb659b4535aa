// Paths of planned entries as they may be shown.
#pragma once

#include "ExportPlan.h"

#include <string>

namespace vx {

// The volume path, "/" for the root. An entry whose name is no text is shown as its folder's path
// with "/?".
std::string ShownPathOf(const ExportPlan &plan, ExportPlan::Number number);

}  // namespace vx
