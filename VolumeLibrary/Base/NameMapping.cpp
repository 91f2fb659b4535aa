#include "NameMapping.h"

#include "CodePoints.h"

#include <string_view>

namespace vx {
namespace {

constexpr char32_t kEscapeBase = 0xEF00;
constexpr char32_t kFirstEscape = kEscapeBase + 0x80;
constexpr char32_t kLastEscape = kEscapeBase + 0xFF;

bool IsEscape(char32_t point)
{
    return point >= kFirstEscape && point <= kLastEscape;
}

// The character at the front of the bytes and its length; an escape for a byte that has none.
char32_t ShownCharacter(std::string_view bytes, size_t *length)
{
    const char32_t point = CharacterAtFront(bytes, length);
    if (point != kInvalidCharacter && !IsEscape(point))
        return point;
    *length = 1;
    return kEscapeBase + static_cast<unsigned char>(bytes[0]);
}

}  // namespace

void NameToUtf16(const char *name, char16_t *units, size_t capacity)
{
    const char16_t *last = units + capacity - 1;
    size_t length = 0;
    for (std::string_view bytes = name; !bytes.empty(); bytes.remove_prefix(length)) {
        const char32_t point = ShownCharacter(bytes, &length);
        const size_t count = UnitCount(point);
        if (static_cast<size_t>(last - units) < count)
            break;
        *units++ = FirstUnit(point);
        if (count == 2)
            *units++ = SecondUnit(point);
    }
    *units = 0;
}

bool AppendNameBytes(const char16_t *units, size_t count, std::string *bytes)
{
    const std::u16string_view text(units, count);
    for (size_t at = 0; at < count;) {
        const char32_t point = CharacterAt(text, at);
        if (IsSurrogate(point))
            return false;
        if (IsEscape(point))
            bytes->push_back(static_cast<char>(point - kEscapeBase));
        else
            AppendUtf8(point, bytes);
        at += UnitCount(point);
    }
    return true;
}

}  // namespace vx
