// A VHDX image as the few places that matter, since a whole one has megabytes: an input holds these
// one after another, and everything else of the image is zeros. It ends with the size of the image
// in units of kSizeUnit, in two bytes, and a byte of flags.
#pragma once

#include "ByteSource.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace vx {

struct VhdxPiece {
    uint64_t at;
    size_t bytes;
};

constexpr uint64_t kVhdxMiB = uint64_t{1} << 20;
constexpr uint64_t kVhdxLogPage = 4096;
constexpr uint64_t kVhdxSizeUnit = uint64_t{64} << 10;
constexpr size_t kVhdxTrailerBytes = 3;

// Where VhdxWriter puts headers, tables of regions, the log, metadata, the table and blocks.
inline std::vector<VhdxPiece> VhdxPieces()
{
    std::vector<VhdxPiece> pieces = {
        {0, 8}, {64 << 10, 80}, {128 << 10, 80}, {192 << 10, 112}, {256 << 10, 112}};
    for (const uint64_t page : {0, 1, 2, 3, 4, 5, 255}) {
        const uint64_t at = kVhdxMiB + page * kVhdxLogPage;
        pieces.push_back({at, 256});
        pieces.push_back({at + kVhdxLogPage - 4, 4});
    }
    pieces.push_back({2 * kVhdxMiB, 256});
    pieces.push_back({2 * kVhdxMiB + (64 << 10), 512});
    pieces.push_back({3 * kVhdxMiB, 128});
    pieces.push_back({4 * kVhdxMiB, 64});
    pieces.push_back({5 * kVhdxMiB, 64});
    return pieces;
}

// The pieces of a whole image.
inline std::string VhdxInput(const std::string &image, uint8_t flags)
{
    std::string input;
    for (const VhdxPiece &piece : VhdxPieces()) {
        std::string bytes = image.substr(std::min<size_t>(piece.at, image.size()), piece.bytes);
        bytes.resize(piece.bytes);
        input += bytes;
    }
    const auto units = static_cast<uint16_t>(image.size() / kVhdxSizeUnit);
    return input + static_cast<char>(units) + static_cast<char>(units >> 8) +
           static_cast<char>(flags);
}

// Threads: one while it is written to.
class PiecedSource final : public ByteSource {
public:
    // An input that is too short lacks its last pieces.
    PiecedSource(const uint8_t *data, size_t size)
    {
        if (size < kVhdxTrailerBytes)
            return;
        const uint8_t *const trailer = data + size - kVhdxTrailerBytes;
        _size = (trailer[0] | uint64_t{trailer[1]} << 8) * kVhdxSizeUnit;
        for (const VhdxPiece &piece : VhdxPieces()) {
            const auto left = static_cast<size_t>(trailer - data);
            const size_t count = std::min(piece.bytes, left);
            _pieces.emplace_back(piece.at, std::vector<uint8_t>(data, data + count));
            data += count;
        }
    }

    uint64_t Size() const override { return _size; }

    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (Error error = CheckRange(_size, offset, count))
            return error;
        auto *const place = static_cast<uint8_t *>(buffer);
        std::memset(place, 0, count);
        for (const auto &[at, bytes] : _pieces) {
            const uint64_t begin = std::max(at, offset);
            const uint64_t end = std::min(at + bytes.size(), offset + count);
            if (begin < end)
                std::copy_n(bytes.data() + (begin - at), end - begin, place + (begin - offset));
        }
        return {};
    }

    // What lies in no piece stays zeros.
    void WriteU32(uint64_t offset, uint32_t value)
    {
        for (auto &[at, bytes] : _pieces) {
            for (uint64_t i = 0; i < 4; ++i) {
                if (offset + i >= at && offset + i < at + bytes.size())
                    bytes[offset + i - at] = static_cast<uint8_t>(value >> 8 * i);
            }
        }
    }

private:
    uint64_t _size = 0;
    std::vector<std::pair<uint64_t, std::vector<uint8_t>>> _pieces;
};

}  // namespace vx
