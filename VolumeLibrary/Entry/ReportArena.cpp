#include "ReportArena.h"

#include "TextField.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

constexpr size_t kBlockBytes = 4096;
constexpr size_t kAlignment = alignof(std::max_align_t);

std::string_view Cut(std::string_view text)
{
    text = text.substr(0, text.find('\0'));
    return text.substr(0, CutLength(text, ReportArena::kLongestText));
}

}  // namespace

const char *ReportArena::Text(std::string_view text)
{
    text = Cut(text);
    if (text.empty())
        return "";
    std::vector<char> withZero(text.begin(), text.end());
    withZero.push_back('\0');
    return List(withZero);
}

const void *ReportArena::Keep(const void *bytes, size_t count)
{
    if (count == 0)
        return nullptr;
    if (count > _size - _used) {
        const size_t size = std::max(count, kBlockBytes);
        _blocks.push_back(std::make_unique<std::byte[]>(size));
        _size = size;
        _used = 0;
    }
    std::byte *place = _blocks.back().get() + _used;
    std::memcpy(place, bytes, count);
    _used = std::min(_size, (_used + count + kAlignment - 1) / kAlignment * kAlignment);
    return place;
}

}  // namespace vx
