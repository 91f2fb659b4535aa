// The mark of an image file, the few bytes by which its format is recognised, if they are damaged
// while all around them shows what they were. Such an image is read as if they were whole, with a
// note: taken for a raw image, the file itself would be the disk.
//
// Formats: those of the headers named in LostMark.cpp.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"
#include "ContainerKind.h"

#include <memory>
#include <string>
#include <utility>

namespace vx {

// Nothing if there is no sign of such an image. head: the first bytes of the file, which is not
// recognised by a mark. With those of a boot sector it is a disk, but for a fixed VHD image, which
// has its mark at the end. Errors: none; bytes that cannot be read show nothing.
std::optional<LostMark> FindLostMark(const ByteSource &file, ByteView head);
// The same for the mark at the end of a VHD image of any kind only.
std::optional<LostMark> FindLostVhdMark(const ByteSource &file);

// A file with its mark put in place. Ownership: shares the file. Threads: any number at a time.
// Errors: those of the file.
class MarkedSource final : public ByteSource {
public:
    MarkedSource(std::shared_ptr<const ByteSource> file, LostMark mark)
        : _file(std::move(file)), _mark(mark)
    {
    }

    uint64_t Size() const override { return _file->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const std::shared_ptr<const ByteSource> _file;
    const LostMark _mark;
};

}  // namespace vx
