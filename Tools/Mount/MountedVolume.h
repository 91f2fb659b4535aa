// The volume as a tree of inodes, for reading only: what a mount shows, without a word of FUSE.
//
// What is shown is whole: a folder with entries missing says so (ShownFolder::IsWhole), a file
// whose records contradict each other does not open, and a place that cannot be read is an error,
// not zeros.
// Ownership: borrows the volume and its reports. Threads: any.
// Errors: an errno, 0 for none; std::bad_alloc passes through.
#pragma once

#include "FolderCache.h"
#include "MountedFile.h"
#include "NodeTable.h"

#include <memory>
#include <string>

namespace vx {

class MountedVolume {
public:
    using Number = NodeTable::Number;
    using Folder = FolderCache::Folder;

    struct Found {
        Number number = 0;
        ShownEntry entry;
    };

    // readsOfFile: of one file, at a time; see MountedFile.
    MountedVolume(IVolume &volume, const VolumeReports &reports,
                  size_t readsOfFile = MountedFile::kMostReads)
        : _volume(volume), _reports(reports), _readsOfFile(readsOfFile)
    {
    }

    // The kernel holds what is found once more. ENOENT only if the folder is known to lack it.
    int Find(Number folder, std::string_view name, Found *found);
    int Describe(Number number, ShownEntry *entry) const;
    int OpenFolder(Number number, Folder *folder);
    // An entry of that folder, which the kernel then holds once more.
    Found Enter(Number number, const ShownFolder &folder, size_t place);
    // Without that.
    Number NumberOf(Number number, const ShownFolder &folder, size_t place) const;
    void Forget(Number number, uint64_t count) { _nodes.Forget(number, count); }
    Number FolderOf(Number number) const { return _nodes.FolderOf(number); }

    // hasOtherSize: its folder gave another one; Describe gives the right one from now on. isFirst:
    // it has not been open since the kernel holds it.
    int OpenFile(Number number, std::unique_ptr<MountedFile> *file, bool *hasOtherSize,
                 bool *isFirst);
    // Where a link leads, as the disk has it but for "/", which becomes "\".
    int ReadLink(Number number, std::string *target) const;

private:
    int WhyNotOpen(const std::u16string &path) const;

    IVolume &_volume;
    const VolumeReports &_reports;
    const size_t _readsOfFile;
    NodeTable _nodes;
    FolderCache _folders;
};

}  // namespace vx
