#include "OpenVolumeFile.h"

namespace vx {
namespace {

// What the explorer passes, too.
constexpr uint32_t kOpenModes[] = {128, 3, 25};
constexpr uint32_t kFromStart = 0;

}  // namespace

OpenVolumeFile::OpenVolumeFile(IVolume &volume, const std::u16string &path)
    : _volume(volume),
      _handle(volume.OpenFile(path.c_str(), kOpenModes[0], kOpenModes[1], kOpenModes[2]))
{
}

OpenVolumeFile::~OpenVolumeFile()
{
    if (_handle != nullptr)
        _volume.CloseHandle(_handle);
}

std::optional<int64_t> OpenVolumeFile::Size()
{
    uint32_t low = 0;
    uint32_t high = 0;
    if (!_volume.QueryFileSize(_handle, &low, &high))
        return std::nullopt;
    return static_cast<int64_t>(uint64_t{high} << 32 | low);
}

bool OpenVolumeFile::Seek(int64_t position)
{
    auto low = static_cast<uint32_t>(position);
    auto high = static_cast<uint32_t>(static_cast<uint64_t>(position) >> 32);
    _volume.SetFilePosition(_handle, &low, &high, kFromStart);
    return static_cast<int64_t>(uint64_t{high} << 32 | low) == position;
}

bool OpenVolumeFile::Read(void *buffer, uint32_t count)
{
    uint32_t done = 0;
    return _volume.ReadFile(_handle, buffer, count, &done) && done == count;
}

}  // namespace vx
