// What only an opened volume tells: its file system, what unlocked it, its recovery passwords.
//
// Ownership: owns copies; the passwords are overwritten at the end.
#pragma once

#include "LoadedLibrary.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

struct RecoveryPassword {
    std::string identifier;  // of its protector
    std::string password;    // 48 digits in groups of six
};

class OpenedFacts {
public:
    // volume: one that the library has opened. wantsPasswords: it was opened with options that keep
    // them.
    OpenedFacts(const LoadedLibrary &library, IVolume &volume, bool wantsPasswords);
    ~OpenedFacts();
    OpenedFacts(const OpenedFacts &) = delete;
    OpenedFacts &operator=(const OpenedFacts &) = delete;

    // Null if the library cannot say it. Of a volume that is not encrypted there is no unlocking.
    const VolumeFileSystemReport *FileSystem() const
    {
        return _fileSystem ? &*_fileSystem : nullptr;
    }
    const VolumeUnlockingReport *Unlocking() const { return _unlocking ? &*_unlocking : nullptr; }

    // False: they cannot be read, as with the key of the sectors, which does not lead to them.
    bool HasPasswords() const { return _hasPasswords; }
    const std::vector<RecoveryPassword> &Passwords() const { return _passwords; }

private:
    std::optional<VolumeFileSystemReport> _fileSystem;
    std::optional<VolumeUnlockingReport> _unlocking;
    std::vector<RecoveryPassword> _passwords;
    bool _hasPasswords = false;
};

// The facts as text for people. report: of the disk, which names the protector.
std::string OpenedText(const OpenedFacts &facts, const DiskReport &report);
// The recovery passwords, or that there are none.
std::string RecoveryPasswordText(const OpenedFacts &facts);

// For programs: "clean", "in-use", "damaged", "unknown".
const char *StateName(VolumeFileSystemState state);

// The volume of the disk that was opened: the one with the protector that opened it, or the only
// one that it can be. Null if that is not known.
const DiskVolumeReport *OpenedVolumeOf(const DiskReport &report, const OpenedFacts &facts);

}  // namespace vx
