// The texts and lists of one report, which go with it.
//
// What is kept stays where it is. Threads: one at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vx {

class ReportArena {
public:
    // Longer texts are cut between two characters; no label, name or sentence is.
    static constexpr size_t kLongestText = 4096;

    // A copy up to the first zero, with one at its end.
    const char *Text(std::string_view text);

    // A copy; null of an empty list.
    template <typename Item>
    const Item *List(const std::vector<Item> &items)
    {
        static_assert(std::is_trivially_copyable_v<Item>, "nothing is destroyed");
        return static_cast<const Item *>(Keep(items.data(), items.size() * sizeof(Item)));
    }

private:
    const void *Keep(const void *bytes, size_t count);

    std::vector<std::unique_ptr<std::byte[]>> _blocks;
    size_t _used = 0;  // of the last block
    size_t _size = 0;
};

}  // namespace vx
