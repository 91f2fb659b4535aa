// Checks in debug builds that a method runs on the thread to which its header binds it. In release
// builds the checks are nothing.
//
//   - (void)windowDidLoad
//   {
//       AssertMainThread();
//
// The main thread is the one that runs main(). A library that is loaded at run time has to be
// loaded by it.
#pragma once

#include <cassert>
#include <thread>

namespace vx {

// Set before main() begins, by the thread that runs it.
inline const std::thread::id kMainThread = std::this_thread::get_id();

inline bool IsMainThread()
{
    return std::this_thread::get_id() == kMainThread;
}

}  // namespace vx

// Macros, so that the message of a failed assertion names the method.
#define AssertMainThread() assert(vx::IsMainThread())
// Any thread but the main one.
#define AssertWorkerThread() assert(!vx::IsMainThread())
