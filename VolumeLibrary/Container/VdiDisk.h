// The disk in a VDI image.
//
// Ownership: shares the file, owns the map. Threads: any number at a time. Memory: that of VdiMap.
// Errors: kSystemError with "read at" and the place on the disk, EIO for what is damaged or lies
// beyond the end of the map or the file, otherwise the errno of the file.
#pragma once

#include "ByteSource.h"
#include "VdiMap.h"

#include <memory>
#include <utility>

namespace vx {

class VdiDisk final : public ByteSource {
public:
    VdiDisk(std::shared_ptr<const ByteSource> file, std::unique_ptr<const VdiMap> map,
            const VdiShape &shape)
        : _file(std::move(file)), _map(std::move(map)), _shape(shape)
    {
    }

    uint64_t Size() const override { return _shape.diskBytes; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    Error ReadInBlock(uint64_t offset, uint8_t *place, size_t count) const;

    const std::shared_ptr<const ByteSource> _file;
    const std::unique_ptr<const VdiMap> _map;
    const VdiShape _shape;
};

}  // namespace vx
