// A sound image with a few changed bytes, without a copy of the image for each input.
//
// An input is a list of changes: u24 place, u8 value. A place counts the bytes of the sectors of
// the image that are not empty; if its highest bit is set, it counts from the previous change.
#pragma once

#include "ByteSource.h"

#include <map>
#include <vector>

namespace vx {

class SoundImage {
public:
    explicit SoundImage(std::vector<uint8_t> bytes);

    using Changes = std::map<uint64_t, uint8_t>;
    Changes ChangesOf(const uint8_t *input, size_t size) const;
    const std::vector<uint8_t> &Bytes() const { return _bytes; }

private:
    std::vector<uint8_t> _bytes;
    std::vector<uint64_t> _sectors;  // the places of those that are not empty
};

class DamagedSource final : public ByteSource {
public:
    DamagedSource(const SoundImage &image, SoundImage::Changes changes);

    uint64_t Size() const override { return _image.size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const std::vector<uint8_t> &_image;
    const SoundImage::Changes _changes;
};

}  // namespace vx
