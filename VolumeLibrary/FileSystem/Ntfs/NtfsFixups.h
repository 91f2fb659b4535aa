// Records and index blocks carry a check number at the end of each sector, which shows whether
// all of them were written. The bytes that belong there are kept at the front.
#pragma once

#include <cstdint>
#include <vector>

namespace vx {

// Puts the ends of the sectors right. False if the bytes were not written as a whole.
bool ApplyNtfsFixups(std::vector<uint8_t> *bytes);

}  // namespace vx
