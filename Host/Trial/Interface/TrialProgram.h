// What volume-trial and its host agree on beyond the channel.
//
//     volume-trial LIBRARY N    LIBRARY: path of the volume library; N: the channel's descriptor
#pragma once

#include <cstdint>

namespace vx {

// In place of a status of the volume library: it does not load, or is none. The detail is the
// whole reason then.
constexpr int32_t kNoVolumeLibrary = -1;

enum TrialExit : int {
    kTrialOver = 0,  // and whether the volume opened is in the report
    kTrialWrongUse = 2,
};

}  // namespace vx
