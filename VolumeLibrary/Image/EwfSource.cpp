#include "EwfSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <libewf.h>

namespace vx {
namespace {

constexpr uint32_t kLargestChunk = uint32_t{64} << 20;
constexpr size_t kChecksumBytes = 4;

// What libewf wants to say; the result of its calls is enough here.
class Complaint {
public:
    Complaint() = default;
    ~Complaint() { libewf_error_free(&_error); }
    Complaint(const Complaint &) = delete;
    Complaint &operator=(const Complaint &) = delete;

    libewf_error_t **Place()
    {
        libewf_error_free(&_error);
        return &_error;
    }

private:
    libewf_error_t *_error = nullptr;
};

}  // namespace

OpenError EwfSource::Open(const std::vector<std::string> &files,
                          std::shared_ptr<const bitlocker::ByteSource> *source)
{
    const std::shared_ptr<EwfSource> opened(new EwfSource);
    if (!opened->Take(files))
        return {VolumeLibraryStatus::kReadFailed,
                "the E01 image is damaged, or one of its parts is missing or cannot be read"};
    *source = opened;
    return {};
}

bool EwfSource::Take(const std::vector<std::string> &files)
{
    Complaint complaint;
    libewf_handle_t *handle = nullptr;
    if (libewf_handle_initialize(&handle, complaint.Place()) != 1)
        return false;
    _handle.reset(handle);
    std::vector<char *> names;
    names.reserve(files.size());
    for (const std::string &file : files)
        names.push_back(const_cast<char *>(file.c_str()));
    size64_t size = 0;
    size32_t chunkBytes = 0;
    if (libewf_handle_open(handle, names.data(), static_cast<int>(names.size()),
                           libewf_get_access_flags_read(), complaint.Place()) != 1 ||
        libewf_handle_get_media_size(handle, &size, complaint.Place()) != 1 ||
        libewf_handle_get_chunk_size(handle, &chunkBytes, complaint.Place()) != 1)
        return false;
    _size = size;
    _chunkBytes = chunkBytes;
    return chunkBytes > 0 && chunkBytes <= kLargestChunk && size <= uint64_t{INT64_MAX};
}

void EwfSource::Close::operator()(void *handle) const
{
    Complaint complaint;
    auto *closing = static_cast<libewf_handle_t *>(handle);
    libewf_handle_close(closing, complaint.Place());
    libewf_handle_free(&closing, complaint.Place());
}

bitlocker::Error EwfSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (bitlocker::Error error = checkRange(_size, offset, count))
        return error;
    const MutexLock lock(_mutex);
    auto *place = static_cast<uint8_t *>(buffer);
    while (count > 0) {
        if (bitlocker::Error error = Load(offset / _chunkBytes))
            return error;
        const auto skip = static_cast<size_t>(offset % _chunkBytes);
        const size_t piece = std::min<size_t>(count, _chunkBytes - skip);
        std::memcpy(place, _chunk + skip, piece);
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

// Reading whole chunks is the one way to hear of a wrong checksum: what reads ranges gives zeros
// or noise for such a chunk, and no error.
bitlocker::Error EwfSource::Load(uint64_t number) const
{
    if (number == _kept)
        return {};
    _kept = kNone;
    _stored.resize(_chunkBytes + kChecksumBytes);
    _unpacked.resize(_chunkBytes + kChecksumBytes);
    Complaint complaint;
    auto *handle = static_cast<libewf_handle_t *>(_handle.get());
    const uint64_t begin = number * _chunkBytes;
    bitlocker::Error bad = {
        bitlocker::Status::SystemError,
        "read at " + std::to_string(begin) + ": a part of the image is damaged or missing", EIO};
    int8_t isCompressed = 0;
    int8_t hasChecksum = 0;
    uint32_t checksum = 0;
    uint8_t checksumBytes[kChecksumBytes];
    if (libewf_handle_seek_offset(handle, static_cast<off64_t>(begin), SEEK_SET,
                                  complaint.Place()) < 0)
        return bad;
    const ssize_t stored =
        libewf_handle_read_chunk(handle, _stored.data(), _stored.size(), &isCompressed,
                                 checksumBytes, &checksum, &hasChecksum, complaint.Place());
    if (stored <= 0)
        return bad;
    size_t unpacked = _chunkBytes;
    const ssize_t length = libewf_handle_prepare_read_chunk(
        handle, _stored.data(), static_cast<size_t>(stored), _unpacked.data(), &unpacked,
        isCompressed, checksum, hasChecksum, complaint.Place());
    if (length < 0 ||
        static_cast<uint64_t>(length) < std::min<uint64_t>(_chunkBytes, _size - begin))
        return bad;
    _chunk = isCompressed != 0 ? _unpacked.data() : _stored.data();
    _kept = number;
    return {};
}

}  // namespace vx
