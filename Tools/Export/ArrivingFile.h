// A file that is being written: it lies beside its place under a hidden name, ".NAME.partial", and
// takes the place only when it is complete. What stood there stays until then.
//
// Ownership: removes the partial file when it goes, unless that was delivered; keeps the folder
// open until then. Threads: one at a time. Errors: errno.
#pragma once

#include "DestinationTree.h"
#include "LocalFile.h"
#include "PartialNames.h"
#include "UniqueFd.h"

#include <cstddef>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace vx {

class ArrivingFile {
public:
    using Folder = DestinationTree::Folder;

    // partials: borrowed. longest: the most bytes of a name.
    ArrivingFile(const PartialNames &partials, size_t longest)
        : _partials(partials), _longest(longest)
    {
    }
    ~ArrivingFile() { Discard(); }
    ArrivingFile(const ArrivingFile &) = delete;
    ArrivingFile &operator=(const ArrivingFile &) = delete;

    // Creates the partial file. replaced: what stands in its place, or null; the new file gets its
    // owner if that is allowed, and its permissions.
    bool Create(const Folder &folder, const std::string &name, const struct stat *replaced);

    // The descriptor of the partial file, until it is closed.
    int File() const { return _file.Get(); }
    // How many bytes were written: count, or fewer after an error. Of a large file the disk gets
    // each part soon after it was written (EarlyWriting.h).
    size_t Write(const void *bytes, size_t count);
    // The same, with holes in the file in place of its runs of zeros, as far as they are whole
    // blocks and long enough. A file that is begun this way goes on so, since zeros are kept back
    // until it is known how many there are, and is ended by EndHoles. False: errno.
    static constexpr int64_t kShortestHole = int64_t{64} << 10;  // bytes
    size_t WriteWithHoles(const void *bytes, size_t count);
    bool EndHoles();
    // Also fails, with ENOENT, if the partial file no longer has its name.
    bool Close();

    // Puts the complete, closed file into its place, if nothing stands there: false with EEXIST;
    // with ENOTSUP where that is not one step.
    bool DeliverToFree();
    // Puts it there, whatever stands there.
    bool Deliver();
    // Puts it beside its place, under a name that says that it is damaged; if a copy of an earlier
    // export is there or in its place that holds no byte more, it replaces that one. The name;
    // empty if that fails.
    std::string DeliverAsDamaged();
    // Removes the partial file, if there is one.
    void Discard();

    // Stays the same when the file is moved.
    const FileIdentity &Identity() const { return _identity; }

private:
    UniqueFd CreatePartial();
    bool HasItsName() const;
    bool MoveTo(const std::string &name);
    bool ReplaceLesser(const std::string &name);
    void NoteWritten(size_t count);
    bool EndZeros();

    const PartialNames &_partials;
    const size_t _longest;
    Folder _folder;
    std::string _name;
    std::string _partial;  // empty: there is none
    UniqueFd _file;
    int64_t _written = 0;
    int64_t _begun = 0;  // of which the disk has been asked to write this much
    int64_t _zeros = 0;  // that were kept back
    FileIdentity _identity = {0, 0};
};

}  // namespace vx
