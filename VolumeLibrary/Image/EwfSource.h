// The contents of an E01 image as a byte source. What was stored with a checksum that it does not
// fit any more cannot be read, instead of reading as something else.
//
// Ownership: owns the open image. Threads: any number at a time; they are let in one by one.
// Memory: two chunks, of 32 KiB each in most images.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "OpenError.h"
#include "ThreadSafety.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

class EwfSource final : public bitlocker::ByteSource {
public:
    // files: all of the image, in order. Errors: kReadFailed.
    static OpenError Open(const std::vector<std::string> &files,
                          std::shared_ptr<const bitlocker::ByteSource> *source);

    uint64_t size() const override { return _size; }
    bitlocker::Error readAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    struct Close {
        void operator()(void *handle) const;
    };

    EwfSource() = default;
    bool Take(const std::vector<std::string> &files);
    // Makes the chunk the one that is kept.
    bitlocker::Error Load(uint64_t number) const VX_REQUIRES(_mutex);

    static constexpr uint64_t kNone = ~uint64_t{0};

    std::unique_ptr<void, Close> _handle;  // of libewf
    uint64_t _size = 0;
    uint32_t _chunkBytes = 0;
    mutable Mutex _mutex;
    mutable uint64_t _kept VX_GUARDED_BY(_mutex) = kNone;
    mutable const uint8_t *_chunk VX_GUARDED_BY(_mutex) = nullptr;
    mutable std::vector<uint8_t> _stored VX_GUARDED_BY(_mutex);
    mutable std::vector<uint8_t> _unpacked VX_GUARDED_BY(_mutex);
};

}  // namespace vx
