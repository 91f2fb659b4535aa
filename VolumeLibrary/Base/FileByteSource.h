// A byte source over a regular file or a block device, opened read-only.
// Threads: any number at a time.
#pragma once

#include "ByteSource.h"
#include "UniqueFd.h"

#include <memory>

namespace vx {

class FileByteSource : public ByteSource {
public:
    // Errors: kSystemError with the errno of the call that failed.
    static Result<std::unique_ptr<FileByteSource>> Open(const std::string &path);

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    uint64_t NextData(uint64_t offset) const override;

private:
    FileByteSource(UniqueFd file, uint64_t size) : _file(std::move(file)), _size(size) {}
    static Error Failure(int number, uint64_t offset);

    const UniqueFd _file;
    const uint64_t _size;
};

}  // namespace vx
