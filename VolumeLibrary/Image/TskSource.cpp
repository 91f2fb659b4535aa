#include "TskSource.h"

#include "TskError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tsk/libtsk.h>

namespace vx {
namespace {

// libtsk takes a failed read of anything but whole sectors for a good one.
constexpr size_t kSector = 512;
// What it is asked for at once.
constexpr size_t kLongestRead = size_t{1} << 20;

}  // namespace

TskSource::TskSource(TSK_IMG_INFO *image) : _image(image) {}

void TskSource::Close::operator()(TSK_IMG_INFO *image) const
{
    tsk_img_close(image);
}

uint64_t TskSource::size() const
{
    return static_cast<uint64_t>(std::max<TSK_OFF_T>(_image->size, 0));
}

bitlocker::Error TskSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (bitlocker::Error error = checkRange(size(), offset, count))
        return error;
    auto *place = static_cast<char *>(buffer);
    while (count > 0) {
        const size_t skip = offset % kSector;
        const bool whole = skip == 0 && count >= kSector;
        const size_t piece = whole ? std::min(count - count % kSector, kLongestRead)
                                   : std::min(count, kSector - skip);
        bitlocker::Error error =
            whole ? ReadSectors(offset, place, piece) : ReadPart(offset, place, piece);
        if (error)
            return error;
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

bitlocker::Error TskSource::ReadPart(uint64_t offset, char *place, size_t count) const
{
    char sector[kSector];
    const size_t skip = offset % kSector;
    const auto length = static_cast<size_t>(std::min<uint64_t>(kSector, size() - (offset - skip)));
    if (bitlocker::Error error = ReadSectors(offset - skip, sector, length))
        return error;
    std::memcpy(place, sector + skip, count);
    return {};
}

bitlocker::Error TskSource::ReadSectors(uint64_t offset, char *place, size_t count) const
{
    const ssize_t done = tsk_img_read(_image.get(), static_cast<TSK_OFF_T>(offset), place, count);
    if (done == static_cast<ssize_t>(count))
        return {};
    return {bitlocker::Status::SystemError,
            "read at " + std::to_string(offset) + ": " + TakeTskError(), EIO};
}

}  // namespace vx
