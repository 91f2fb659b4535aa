// Checks in debug builds that a method runs on the thread to which its header binds it. In release
// builds they do nothing.
//
//   - (void)windowDidLoad
//   {
//       AssertMainThread();
//
// A program begins them by calling CheckThreads() in main(), before it starts a thread. A program
// that uses a class alone, on any thread, does not call it.
#pragma once

#include <atomic>
#include <cassert>
#include <thread>

namespace vx {

// The thread that called CheckThreads; none before. A library that is loaded at run time has a
// variable of its own.
inline std::thread::id mainThread;

inline void CheckThreads()
{
    mainThread = std::this_thread::get_id();
}

inline bool IsMainThread()
{
    return std::this_thread::get_id() == mainThread;
}

inline bool AreThreadsChecked()
{
    return mainThread != std::thread::id();
}

// Of an object that belongs to whichever thread used it first, for as long as it lives.
class ThreadBinding {
public:
    bool IsKept() const
    {
        std::thread::id first;
        const std::thread::id own = std::this_thread::get_id();
        return _thread.compare_exchange_strong(first, own) || first == own;
    }

private:
    mutable std::atomic<std::thread::id> _thread{};
};

}  // namespace vx

// Macros, so that the message of a failed assertion names the method.
#define AssertMainThread() assert(!vx::AreThreadsChecked() || vx::IsMainThread())
// Any thread but the main one.
#define AssertWorkerThread() assert(!vx::AreThreadsChecked() || !vx::IsMainThread())
// The thread that used the object of this binding first.
#define AssertBoundThread(binding) assert((binding).IsKept())
