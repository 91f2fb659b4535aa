// A mark on a copy that is not whole, so that an export that goes on later by size and date does
// not take it for a whole one. It is an extended attribute, and goes with the file.
//
// Threads: any.
#pragma once

namespace vx {

constexpr char kDamageMark[] = "user.volume-export.damaged";

// file: open. False: the file system keeps no such marks.
bool MarkDamaged(int file);
bool IsMarkedDamaged(int file);

}  // namespace vx
