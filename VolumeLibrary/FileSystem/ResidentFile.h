// A file whose few bytes were read when it was opened.
//
// Threads: as VolumeFile.
#pragma once

#include "VolumeFile.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace vx {

class ResidentFile final : public VolumeFile {
public:
    explicit ResidentFile(std::vector<uint8_t> bytes) : _bytes(std::move(bytes)) {}

    std::optional<int64_t> Size() const override { return static_cast<int64_t>(_bytes.size()); }

protected:
    int64_t KnownSize() const override { return static_cast<int64_t>(_bytes.size()); }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *) override
    {
        const auto size = static_cast<int64_t>(_bytes.size());
        if (position >= size || count == 0)
            return 0;
        const auto length = static_cast<uint32_t>(std::min<int64_t>(count, size - position));
        std::memcpy(buffer, _bytes.data() + position, length);
        return length;
    }

private:
    const std::vector<uint8_t> _bytes;
};

}  // namespace vx
