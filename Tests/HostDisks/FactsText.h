// Facts as lines of text, by two ways: from DiskFacts, and from the report of volume-info as
// python3 reads it.
#pragma once

#include "VolumeFacts.h"

#include <string>

namespace vx {

std::string FactsText(const DiskFacts &facts);

// Runs infoProgram on the volume. Throws if python3 cannot read what it prints.
std::string FactsTextByPython(const std::string &infoProgram, const std::string &volume);

}  // namespace vx
