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

}  // namespace

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
