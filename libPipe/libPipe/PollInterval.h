// The library waits by polling: for messages, for replies, for the other end to open.
#pragma once

#include <chrono>

namespace vx {

using PollInterval = std::chrono::milliseconds;

// What every connector uses unless its maker says otherwise.
constexpr PollInterval kPollInterval = std::chrono::seconds(1);

}  // namespace vx
