// Reads a folder of exFAT: sets of entries, each a file, its stream and its name. Left out are
// deleted sets and those whose check does not hold.
// The node is that of FatFolder.h.
#pragma once

#include "FileSystem.h"
#include "FolderBytes.h"

namespace vx {

class ExfatFolder final : public FolderReader {
public:
    explicit ExfatFolder(FolderBytes bytes) : _bytes(std::move(bytes)) {}

    VolumeListing::Step Next(FolderEntry *entry) override;
    void Describe(VolumeFindData *record) const override;

private:
    VolumeListing::Step TakeSet();
    bool IsSetGood() const;
    bool TakeFile(FolderEntry *entry) const;

    FolderBytes _bytes;
    FolderBytes::Entry _next = {};
    bool _hasNext = false;  // _next was read and belongs to no set yet
    std::vector<FolderBytes::Entry> _set;
};

}  // namespace vx
