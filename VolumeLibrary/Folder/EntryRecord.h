// The volume's record of one entry of a plain folder.
//
// Attributes, by the numbers that Windows gives them:
//   0x1 read-only     no write permission for any user
//   0x2 hidden        the name begins with "."
//   0x10 folder
//   0x80 normal       a file with none of the others
//   0x400 link        a symbolic link; everything else then describes what it leads to, and the
//                     tag is that of a symbolic link
#pragma once

#include "EntryStat.h"
#include "IVolume.h"

namespace vx {

enum class EntryForm { kItself, kLink };

// Writes every field of the record; a folder has size 0. A name too long for the record (no
// file system of ours has one) is cut between two characters.
void FillRecord(const char *name, const EntryStat &stat, EntryForm form, VolumeFindData *record);

}  // namespace vx
