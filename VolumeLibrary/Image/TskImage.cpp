#include "TskImage.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <tsk/libtsk.h>

namespace vx {
namespace {

// libtsk calls both in any case.
void LeaveOpen(TSK_IMG_INFO *) {}
void DescribeNothing(TSK_IMG_INFO *, FILE *) {}

TSK_OFF_T SizeForTsk(const bitlocker::ByteSource &source)
{
    constexpr uint64_t kLargest = std::numeric_limits<TSK_OFF_T>::max();
    return static_cast<TSK_OFF_T>(std::min(source.size(), kLargest));
}

}  // namespace

// libtsk hands back a pointer to the first member.
struct TskImage::External {
    TSK_IMG_INFO image = {};
    TskImage *owner = nullptr;
};

TskImage::TskImage(std::shared_ptr<const bitlocker::ByteSource> source)
    : _source(std::move(source)), _external(std::make_unique<External>())
{
    _external->owner = this;
    const auto read = [](TSK_IMG_INFO *image, TSK_OFF_T offset, char *buffer, size_t count) {
        return static_cast<ssize_t>(Read(image, static_cast<int64_t>(offset), buffer, count));
    };
    tsk_img_open_external(_external.get(), SizeForTsk(*_source), 512, read, LeaveOpen,
                          DescribeNothing);
}

TskImage::~TskImage()
{
    tsk_img_close(Get());
}

TSK_IMG_INFO *TskImage::Get() const
{
    return &_external->image;
}

int64_t TskImage::Read(TSK_IMG_INFO *image, int64_t offset, char *buffer, size_t count)
{
    TskImage &self = *reinterpret_cast<External *>(image)->owner;
    if (offset < 0 || !self._source->readAt(static_cast<uint64_t>(offset), buffer, count))
        return offset < 0 ? -1 : static_cast<int64_t>(count);
    self._failedReads.fetch_add(1, std::memory_order_relaxed);
    return -1;
}

}  // namespace vx
