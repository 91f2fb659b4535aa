// The lock of the folder with the user's settings. The library takes it, a folder of its own, for
// the moment in which it reads or writes them. A program that dies in that moment leaves the lock,
// and the library then waits 20 seconds before it breaks it, or indefinitely if the lock's time
// lies ahead of the clock.
//
// A program that links this looks at the lock when it is loaded, before the library does.
// Threads: any; waits by looking again. Errors: a lock that cannot be removed is left to the
// library.
#pragma once

#include <ctime>
#include <string>

namespace vx {

// Whether a lock made at this time has lost its holder: it is a second old, or more than a second
// ahead.
bool isLockStale(timespec made, timespec now);

// Returns once no lock is there, having removed one that is stale, and after two seconds in which
// others kept taking it.
void awaitLock(const std::string &path);

// Does so for the library's own lock, unless the program's arguments hold more than ASCII.
void awaitSettingsLockAtStart();

// Where the library has its lock.
std::string settingsLockPath();

}  // namespace vx
