// One open file of a volume: closes it on destruction, and speaks of 64-bit sizes and positions.
//
// Ownership: borrows the volume. Threads: one at a time.
#pragma once

#include "IVolume.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vx {

class OpenVolumeFile {
public:
    // path: on the volume.
    OpenVolumeFile(IVolume &volume, const std::u16string &path);
    // handle: of the volume, null for a file that does not open; closed with this.
    OpenVolumeFile(IVolume &volume, VolumeHandle handle) : _volume(volume), _handle(handle) {}
    ~OpenVolumeFile();
    OpenVolumeFile(const OpenVolumeFile &) = delete;
    OpenVolumeFile &operator=(const OpenVolumeFile &) = delete;

    // Whether the volume has opened it; if not, nothing else may be called.
    explicit operator bool() const { return _handle != nullptr; }

    // In bytes; negative for 2^63 bytes and more, nothing if the volume does not know it.
    std::optional<int64_t> Size();
    bool Seek(int64_t position);
    // Whether all count bytes arrived. What the buffer holds otherwise is the volume's affair.
    bool Read(void *buffer, uint32_t count);

    // For VolumeReports.
    VolumeHandle Handle() const { return _handle; }

private:
    IVolume &_volume;
    VolumeHandle _handle;
};

}  // namespace vx
