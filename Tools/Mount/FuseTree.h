// Answers the kernel's questions about a mounted volume: the operations of libfuse's low-level
// interface, and what the kernel is told when the connection begins.
//
// Nothing changes while the volume is mounted, so the kernel may keep every answer for as long
// as it likes.
// Ownership: borrows the volume. Threads: any, the operations are called on those of the session.
// Source of the interface: libfuse 3, fuse_lowlevel.h.
#pragma once

#include "FuseVersion.h"
#include "HeldFiles.h"
#include "MountedVolume.h"
#include "VolumeReport.h"

#include <atomic>
#include <ctime>
#include <fuse_lowlevel.h>

namespace vx {

class FuseTree {
public:
    // The most bytes of one read. The kernel asks for some of its read-ahead at a time; asked for
    // in smaller pieces it is decrypted on several threads.
    static constexpr unsigned kLargestRead = 128U << 10;
    // That must be allowed to call the operations at a time.
    static constexpr unsigned kFewestThreads = 3;

    // Everything belongs to the user who mounts it. report: of the file system; empty if it is not
    // known.
    FuseTree(MountedVolume &volume, const VolumeFileSystemReport &report);

    // With this as the user data of the session.
    static const fuse_lowlevel_ops &Operations();
    // The session that is to be notified of a changed size.
    void SetSession(fuse_session *session) { _session = session; }

private:
    struct Calls;

    struct stat StatOf(MountedVolume::Number number, const ShownEntry &entry) const;
    fuse_entry_param EntryOf(const MountedVolume::Found &found) const;

    void Look(fuse_req_t request, fuse_ino_t folder, const char *name);
    void Describe(fuse_req_t request, fuse_ino_t number);
    void List(fuse_req_t request, fuse_ino_t number, size_t room, off_t from, bool isPlus);
    void Open(fuse_req_t request, fuse_ino_t number, fuse_file_info *file);
    void Store(fuse_ino_t number, MountedFile *file);
    void Read(fuse_req_t request, size_t count, off_t position, const fuse_file_info *file);
    void ReadLink(fuse_req_t request, fuse_ino_t number);
    void DescribeFileSystem(fuse_req_t request) const;

    class ListReply;

    MountedVolume &_volume;
    const VolumeFileSystemReport _report;
    const timespec _start;
    fuse_session *_session = nullptr;
    HeldFiles _files;
    std::atomic<int> _storing{0};  // threads that do it
};

}  // namespace vx
