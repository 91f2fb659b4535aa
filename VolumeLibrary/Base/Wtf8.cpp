#include "Wtf8.h"

#include "ByteReader.h"
#include "CodePoints.h"

namespace vx {
namespace {

// Calls take with each character until it returns false.
template <typename Take>
void VisitCharacters(ByteView units, Take take)
{
    for (size_t at = 0; at + 1 < units.size;) {
        const char32_t point = CharacterOf(U16At(units, at), U16At(units, at + 2));
        if (!take(point))
            return;
        at += 2 * UnitCount(point);
    }
}

// The character at the front, which may be a surrogate; kInvalidCharacter for other bytes.
char32_t NamedCharacter(std::string_view name, size_t *length)
{
    constexpr char kLeadOfSurrogates = '\xED';
    const char32_t point = CharacterAtFront(name, length);
    if (point != kInvalidCharacter || name[0] != kLeadOfSurrogates || name.size() < 3)
        return point;
    *length = 3;
    const auto middle = static_cast<unsigned char>(name[1]);
    const auto last = static_cast<unsigned char>(name[2]);
    const char32_t surrogate = 0xD000u | (middle & 0x3Fu) << 6 | (last & 0x3Fu);
    return IsSurrogate(surrogate) && last >> 6 == 2 && middle >> 6 == 2 ? surrogate
                                                                        : kInvalidCharacter;
}

}  // namespace

std::optional<std::u16string> Utf16FromWtf8(std::string_view name)
{
    std::u16string units;
    size_t length = 0;
    for (; !name.empty(); name.remove_prefix(length)) {
        const char32_t point = NamedCharacter(name, &length);
        if (point == kInvalidCharacter)
            return std::nullopt;
        units += FirstUnit(point);
        if (UnitCount(point) == 2)
            units += SecondUnit(point);
    }
    return units;
}

std::string Wtf8FromUtf16(ByteView units)
{
    std::string text;
    text.reserve(units.size / 2);
    VisitCharacters(units, [&](char32_t point) {
        AppendUtf8(point, &text);
        return true;
    });
    return text;
}

std::string Utf8FromUtf16(ByteView units)
{
    std::string text;
    VisitCharacters(units, [&](char32_t point) {
        if (point != 0)
            AppendUtf8(IsSurrogate(point) ? kReplacementCharacter : point, &text);
        return point != 0;
    });
    return text;
}

bool IsEntryName(const std::string &name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

}  // namespace vx
