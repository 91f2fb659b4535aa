#include "NameMapping.h"

#include "Utf8.h"

namespace vx {
namespace {

constexpr char32_t kInvalid = 0xFFFFFFFF;
constexpr char32_t kEscapeBase = 0xEF00;
constexpr char32_t kFirstEscape = kEscapeBase + 0x80;
constexpr char32_t kLastEscape = kEscapeBase + 0xFF;

bool IsSurrogate(char32_t point)
{
    return point >= 0xD800 && point <= 0xDFFF;
}

bool IsEscape(char32_t point)
{
    return point >= kFirstEscape && point <= kLastEscape;
}

// The length that the lead byte announces; 0 for a byte that cannot lead.
int SequenceLength(unsigned char lead)
{
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// The character of a sequence of several bytes, or kInvalid if its bytes are to be escaped.
// Stops at the string's zero, which continues no sequence.
char32_t DecodeSequence(const unsigned char *bytes, int length)
{
    if (length == 0)
        return kInvalid;
    char32_t point = bytes[0] & (0x7F >> length);
    for (int i = 1; i < length; ++i) {
        if ((bytes[i] & 0xC0) != 0x80)
            return kInvalid;
        point = point << 6 | (bytes[i] & 0x3F);
    }
    constexpr char32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool valid = point >= kLowest[length] && point <= 0x10FFFF && !IsSurrogate(point);
    return valid && !IsEscape(point) ? point : kInvalid;
}

char16_t *WritePoint(char32_t point, char16_t *out)
{
    if (point < 0x10000) {
        *out++ = static_cast<char16_t>(point);
        return out;
    }
    *out++ = static_cast<char16_t>(0xD7C0 + (point >> 10));
    *out++ = static_cast<char16_t>(0xDC00 + (point & 0x3FF));
    return out;
}

// The character at units, which has at least one; kInvalid for a lone surrogate.
char32_t PointAt(const char16_t *units, size_t count)
{
    const char32_t unit = units[0];
    if (!IsSurrogate(unit))
        return unit;
    const bool pair = unit < 0xDC00 && count > 1 && units[1] >= 0xDC00 && units[1] <= 0xDFFF;
    return pair ? 0x10000 + ((unit - 0xD800) << 10) + (units[1] - 0xDC00u) : kInvalid;
}

}  // namespace

void NameToUtf16(const char *name, char16_t *units, size_t capacity)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(name);
    const char16_t *last = units + capacity - 1;
    while (*bytes != 0 && units < last) {
        if (*bytes < 0x80) {
            *units++ = *bytes++;
            continue;
        }
        const int length = SequenceLength(*bytes);
        const char32_t point = DecodeSequence(bytes, length);
        if (point == kInvalid) {
            *units++ = static_cast<char16_t>(kEscapeBase + *bytes++);
            continue;
        }
        if (point >= 0x10000 && last - units < 2)
            break;
        units = WritePoint(point, units);
        bytes += length;
    }
    *units = 0;
}

bool AppendNameBytes(const char16_t *units, size_t count, std::string *bytes)
{
    for (size_t i = 0; i < count; ++i) {
        const char32_t point = PointAt(units + i, count - i);
        if (point == kInvalid)
            return false;
        if (IsEscape(point))
            bytes->push_back(static_cast<char>(point - kEscapeBase));
        else
            AppendUtf8(point, bytes);
        if (point >= 0x10000)
            ++i;
    }
    return true;
}

}  // namespace vx
