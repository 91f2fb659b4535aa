// The contents of an image of a format that libtsk reads (split raw files, E01, VHD, VMDK), as
// a byte source.
//
// Ownership: owns the open image. Threads: any number at a time; libtsk lets them in one by one.
#pragma once

#include "Bitlocker/ByteSource.h"

#include <memory>

struct TSK_IMG_INFO;

namespace vx {

class TskSource final : public bitlocker::ByteSource {
public:
    // Takes over an opened image.
    explicit TskSource(TSK_IMG_INFO *image);

    uint64_t size() const override;
    bitlocker::Error readAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    struct Close {
        void operator()(TSK_IMG_INFO *image) const;
    };

    bitlocker::Error ReadSectors(uint64_t offset, char *place, size_t count) const;
    bitlocker::Error ReadPart(uint64_t offset, char *place, size_t count) const;

    const std::unique_ptr<TSK_IMG_INFO, Close> _image;
};

}  // namespace vx
