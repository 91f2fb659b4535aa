// What is on a disk or an image, without a secret: read by a child process (volume-info --json), so
// that a hostile image ends that one and not the host.
//
// Threads: any; a call takes as long as the child. Units: bytes. Texts: UTF-8; empty if unknown.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace vx {

struct ProtectorFacts {
    std::string kind;        // as DiskProtectorReport::kind: "password", "recovery-password"
    std::string kindText;    // in words
    std::string identifier;  // "1A2B3C4D-..."
    std::vector<std::string> unlockKinds;  // "recovery", "recovery-file", "key-ring"
};

struct VolumeFacts {
    // What opens it: "/dev/sdb1", "/home/a/disk.vhdx#2"; of what is not recognised its place, which
    // opens it with a secret if it was encrypted: "/dev/sdb@1048576".
    std::string address;
    uint64_t number = 0;  // as in "#2"; 0 of what does not open by itself
    uint64_t bytes = 0;
    std::string label;
    std::string kind;      // as DiskVolumeReport::kind: "encrypted", "ntfs", "other"
    std::string kindText;  // in words
    std::string nextStep;  // of what does not open
    std::string method;    // "AES-128-XTS"
    std::string state;
    std::string identifier;
    std::string description;
    bool hasClearKey = false;
    std::vector<ProtectorFacts> protectors;
};

struct DiskFacts {
    std::string container;  // in words
    uint64_t bytes = 0;
    std::vector<VolumeFacts> volumes;
    std::vector<std::string> warnings;
    // A VolumeLibraryStatus; not 0: reason says why, in words. kInternalError if volume-info itself
    // failed, kCancelled if it was cancelled.
    int32_t status = 0;
    std::string reason;
};

// infoProgram: the path of volume-info. cancel: may be set on any thread; ends the child at once.
DiskFacts ReadDiskFacts(const std::string &infoProgram, const std::string &volume,
                        const std::atomic<bool> &cancel);

}  // namespace vx
