// Contents in which every 16 bytes name their file and their place in it, so that a byte which
// comes from elsewhere is recognised and a sector of a disk tells whose it is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vx {

constexpr size_t kMarkBytes = 16;

struct Mark {
    unsigned file = 0;
    uint64_t offset = 0;  // bytes, a multiple of kMarkBytes
};

// The first bytes of a file: "R002:0000000000\nR002:0000000010\n..."
std::string MarkedBytes(unsigned file, size_t count);

// What the first kMarkBytes of the text say, if they are a mark.
std::optional<Mark> MarkIn(std::string_view bytes);

}  // namespace vx
