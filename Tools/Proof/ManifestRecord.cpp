#include "ManifestRecord.h"

#include "IsoTime.h"
#include "IsoTimeReader.h"

#include <charconv>

namespace vx {
namespace {

constexpr std::string_view kSize = "# size ";
constexpr std::string_view kModified = ", modified ";
constexpr std::string_view kNoTime = "unknown";
constexpr std::string_view kDamaged = ", damaged";
constexpr std::string_view kBetween = "  ";
constexpr char kDigits[] = "0123456789abcdef";

// sha256sum would read standard input.
constexpr std::string_view kStandardInput = "-";
constexpr std::string_view kHere = "./";

bool Take(std::string_view text, std::string_view *line)
{
    if (line->substr(0, text.size()) != text)
        return false;
    line->remove_prefix(text.size());
    return true;
}

bool TakeNumber(std::string_view *line, int64_t *number)
{
    const char *begin = line->data();
    const auto [end, error] = std::from_chars(begin, begin + line->size(), *number);
    if (error != std::errc() || *number < 0)
        return false;
    line->remove_prefix(static_cast<size_t>(end - begin));
    return true;
}

int DigitOf(char character)
{
    const size_t digit = std::string_view(kDigits).find(character);
    return digit == std::string_view::npos || character == '\0' ? -1 : static_cast<int>(digit);
}

bool TakeDigest(std::string_view *line, Sha256Digest *digest)
{
    if (line->size() < 2 * digest->size())
        return false;
    for (size_t i = 0; i < digest->size(); ++i) {
        const int high = DigitOf((*line)[2 * i]);
        const int low = DigitOf((*line)[2 * i + 1]);
        if (high < 0 || low < 0)
            return false;
        (*digest)[i] = static_cast<uint8_t>(high * 16 + low);
    }
    line->remove_prefix(2 * digest->size());
    return true;
}

// What stands after a backslash; 0 for what never does.
char UnescapedOf(char character)
{
    switch (character) {
    case '\\':
        return '\\';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    default:
        return '\0';
    }
}

bool Unescape(std::string_view text, std::string *name)
{
    for (size_t i = 0; i < text.size(); ++i) {
        char character = text[i];
        if (character == '\\' && ++i < text.size())
            character = UnescapedOf(text[i]);
        else if (character == '\\')
            return false;
        if (character == '\0')
            return false;
        name->push_back(character);
    }
    return true;
}

}  // namespace

std::string HexText(const Sha256Digest &digest)
{
    std::string text;
    for (const uint8_t byte : digest) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 15]);
    }
    return text;
}

std::string EscapedName(std::string_view name, bool *escaped)
{
    std::string text;
    *escaped = false;
    for (const char character : name) {
        const size_t kind = std::string_view("\\\n\r").find(character);
        const bool isPlain = kind == std::string_view::npos;
        *escaped = *escaped || !isPlain;
        if (!isPlain)
            text.push_back('\\');
        text.push_back(isPlain ? character : "\\nr"[kind]);
    }
    return text;
}

std::string TextOf(const ManifestRecord &record)
{
    std::string text(kSize);
    text.append(std::to_string(record.size)).append(kModified);
    text.append(record.modified == 0 ? std::string(kNoTime) : IsoTime(record.modified));
    if (record.isDamaged)
        text.append(kDamaged);
    text.push_back('\n');
    bool escaped = false;
    const std::string name = EscapedName(record.path, &escaped);
    if (escaped)
        text.push_back('\\');
    text.append(HexText(record.digest)).append(kBetween);
    if (name == kStandardInput)
        text.append(kHere);
    return text.append(name).append("\n");
}

bool ReadComment(std::string_view line, ManifestRecord *record)
{
    if (!Take(kSize, &line) || !TakeNumber(&line, &record->size) || !Take(kModified, &line))
        return false;
    const std::string_view time = line.substr(0, line.find(','));
    const std::optional<uint64_t> modified =
        time == kNoTime ? uint64_t{0} : ReadIsoTime(std::string(time));
    if (!modified)
        return false;
    record->modified = *modified;
    line.remove_prefix(time.size());
    record->isDamaged = Take(kDamaged, &line);
    return line.empty();
}

bool ReadSum(std::string_view line, ManifestRecord *record)
{
    const bool escaped = Take("\\", &line);
    if (!TakeDigest(&line, &record->digest) || !Take(kBetween, &line) || line.empty())
        return false;
    record->path.clear();
    if (!escaped)
        record->path = line;
    else if (!Unescape(line, &record->path))
        return false;
    if (record->path == std::string(kHere).append(kStandardInput))
        record->path = kStandardInput;
    return record->path.find('\0') == std::string::npos;
}

}  // namespace vx
