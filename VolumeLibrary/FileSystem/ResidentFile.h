// A file whose few bytes were read when it was opened.
#pragma once

#include "VolumeFile.h"

#include <utility>
#include <vector>

namespace vx {

class ResidentFile final : public VolumeFile {
public:
    explicit ResidentFile(std::vector<uint8_t> bytes) : _bytes(std::move(bytes)) {}

    std::optional<int64_t> Size() const override { return static_cast<int64_t>(_bytes.size()); }

protected:
    int64_t KnownSize() const override { return static_cast<int64_t>(_bytes.size()); }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override;

private:
    const std::vector<uint8_t> _bytes;
};

}  // namespace vx
