// Whether a key of sectors that nothing authenticates is the right one, by what comes out of
// sectors that are stored encrypted and whose contents are known.
//
// Formats: as FirstSector.h; "NTFS documentation" of the Linux-NTFS project for the table of files.
#pragma once

#include "DecryptedVolume.h"

namespace vx::bitlocker {

enum class KeyProof {
    kProven,
    kUnknown,  // no such sector can be read
    kRefuted,  // each that can be read gives something else
};

// Looked at are the first sector and its backups, the first records of the table of files of NTFS
// and its mirror, and the beginnings of the allocation tables of FAT and exFAT.
KeyProof ProofOfKey(const DecryptedVolume &volume);

// Whether the backup of a boot sector is stored encrypted where the file systems have it.
bool HasBackup(const DecryptedVolume &volume);

}  // namespace vx::bitlocker
