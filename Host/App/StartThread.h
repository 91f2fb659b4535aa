// Starts a thread where the caller is Objective-C++: an exception of std::thread cannot be caught
// there.
#pragma once

#include <functional>
#include <thread>

namespace vx {

// One that is not joinable: the system has none left. Any thread.
std::thread StartThread(std::function<void()> run);

}  // namespace vx
