// The file system of a volume that is only unlocked: it has no files, and its root cannot be read.
// Threads: any number at a time.
#pragma once

#include "FileSystem.h"

namespace vx {

class NoFiles final : public FileSystem {
public:
    Node Root() const override { return {}; }
    std::unique_ptr<FolderReader> OpenFolder(const Node &, const Way &) const override
    {
        return nullptr;
    }
    std::unique_ptr<VolumeFile> OpenFile(const Node &) const override { return nullptr; }
};

}  // namespace vx
