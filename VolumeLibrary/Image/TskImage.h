// A byte source as libtsk wants to see an image.
//
// Ownership: shares the source; the object must outlive everything that was opened on Get().
// Threads: any number at a time. libtsk sometimes takes a failed read for a good one, so who
// must know looks at FailedReads() before and after.
#pragma once

#include "Bitlocker/ByteSource.h"

#include <atomic>
#include <memory>

struct TSK_IMG_INFO;

namespace vx {

class TskImage {
public:
    explicit TskImage(std::shared_ptr<const bitlocker::ByteSource> source);
    ~TskImage();
    TskImage(const TskImage &) = delete;
    TskImage &operator=(const TskImage &) = delete;

    TSK_IMG_INFO *Get() const;
    // How many reads have failed so far.
    uint64_t FailedReads() const { return _failedReads.load(std::memory_order_relaxed); }

private:
    struct External;

    static int64_t Read(TSK_IMG_INFO *image, int64_t offset, char *buffer, size_t count);

    const std::shared_ptr<const bitlocker::ByteSource> _source;
    const std::unique_ptr<External> _external;
    std::atomic<uint64_t> _failedReads{0};
};

}  // namespace vx
