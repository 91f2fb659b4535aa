// A byte source over a regular file or a block device, opened read-only and closed with the
// object.
#pragma once

#include "ByteSource.h"

#include <memory>

namespace vx {

class FileByteSource : public ByteSource {
public:
    // Errors: SystemError with the errno of the call that failed.
    static Result<std::unique_ptr<FileByteSource>> Open(const std::string &path);
    ~FileByteSource() override;
    FileByteSource(const FileByteSource &) = delete;
    FileByteSource &operator=(const FileByteSource &) = delete;

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    explicit FileByteSource(int descriptor) : _descriptor(descriptor) {}
    static Error Failure(int number, uint64_t offset);

    const int _descriptor;
    uint64_t _size = 0;
};

}  // namespace vx
