#include "PlainKeyText.h"

#include "CodePoints.h"
#include "PlainSign.h"

namespace vx::bitlocker {
namespace {

enum class Encoding { kBytes, kLittleEndian, kBigEndian };

struct Marked {
    Encoding encoding;
    size_t markBytes;
};

bool BeginsWith(ByteView file, std::string_view mark)
{
    return file.size >= mark.size() &&
           std::string_view(reinterpret_cast<const char *>(file.data), mark.size()) == mark;
}

// Texts in code pages and in UTF-8 have no zeros; in UTF-16 the upper halves of digits are zeros.
Encoding EncodingByZeros(ByteView file)
{
    size_t zeros[2] = {0, 0};
    for (size_t i = 0; i < file.size; ++i)
        zeros[i % 2] += file.data[i] == 0 ? 1 : 0;
    if (zeros[0] == 0 && zeros[1] == 0)
        return Encoding::kBytes;
    return zeros[1] >= zeros[0] ? Encoding::kLittleEndian : Encoding::kBigEndian;
}

Marked EncodingOf(ByteView file)
{
    if (BeginsWith(file, "\xff\xfe"))
        return {Encoding::kLittleEndian, 2};
    if (BeginsWith(file, "\xfe\xff"))
        return {Encoding::kBigEndian, 2};
    if (BeginsWith(file, "\xef\xbb\xbf"))
        return {Encoding::kBytes, 3};
    return {EncodingByZeros(file), 0};
}

char SignOf(char32_t character)
{
    constexpr char32_t kNextLine = 0x85;
    constexpr char32_t kLineSeparator = 0x2028;
    constexpr char32_t kParagraphSeparator = 0x2029;
    if (character == '\r' || character == kNextLine || character == kLineSeparator ||
        character == kParagraphSeparator)
        return '\n';
    return character < 0x80 ? static_cast<char>(character) : PlainSign(character);
}

}  // namespace

KeyMaterial PlainKeyText(ByteView file)
{
    const Marked marked = EncodingOf(file);
    const ByteView text = file.From(marked.markBytes);
    KeyMaterial signs(text.size);
    size_t length = 0;
    const auto put = [&](char32_t character) {
        signs.Data()[length++] = static_cast<uint8_t>(SignOf(character));
    };
    if (marked.encoding == Encoding::kBytes) {
        std::string_view rest(reinterpret_cast<const char *>(text.data), text.size);
        while (!rest.empty())
            put(TakeCharacter(&rest));
    } else {
        const size_t low = marked.encoding == Encoding::kLittleEndian ? 0 : 1;
        for (size_t i = 0; i + 1 < text.size; i += 2)
            put(static_cast<char32_t>(text.data[i + low] | text.data[i + 1 - low] << 8));
    }
    return KeyMaterial(signs.View().First(length));
}

}  // namespace vx::bitlocker
