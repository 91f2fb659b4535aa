// A volume as one file: every byte of it, whatever it holds. The file has the name of
// kVolumeContentsPath and lies in the root.
//
// Ownership: shares the volume. Threads: any number at a time. Errors: as FileSystem.
#pragma once

#include "ByteSource.h"
#include "FileSystem.h"

#include <memory>

namespace vx {

class ContentsFileSystem final : public FileSystem {
public:
    // Not more than INT64_MAX bytes.
    explicit ContentsFileSystem(std::shared_ptr<const ByteSource> volume);

    Node Root() const override;
    std::unique_ptr<FolderReader> OpenFolder(const Node &folder, const Way &way) const override;
    std::unique_ptr<VolumeFile> OpenFile(const Node &file) const override;

private:
    const std::shared_ptr<const ByteSource> _volume;
};

}  // namespace vx
