// A borrowed run of bytes; the owner of the bytes must outlive it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vx {

struct ByteView {
    const uint8_t *data = nullptr;
    size_t size = 0;

    ByteView() = default;
    ByteView(const uint8_t *bytes, size_t count) : data(bytes), size(count) {}
    ByteView(const std::vector<uint8_t> &bytes) : data(bytes.data()), size(bytes.size()) {}
    template <size_t Count>
    ByteView(const std::array<uint8_t, Count> &bytes) : data(bytes.data()), size(Count)
    {
    }

    // Whether count bytes lie inside from offset on.
    bool Holds(size_t offset, size_t count) const
    {
        return offset <= size && count <= size - offset;
    }
    // The bytes from offset on; empty beyond the end.
    ByteView From(size_t offset) const
    {
        return offset < size ? ByteView(data + offset, size - offset) : ByteView();
    }
    // At most count bytes from the front.
    ByteView First(size_t count) const { return {data, count < size ? count : size}; }
    std::vector<uint8_t> Copy() const { return {data, data + size}; }
};

}  // namespace vx
