#include "LocalText.h"

#include "CodePoints.h"

#include <algorithm>

namespace vx {

bool LocalTextOf(std::u16string_view name, std::string *text)
{
    text->clear();
    for (size_t at = 0; at < name.size();) {
        const char32_t character = CharacterAt(name, at);
        if (character == 0 || IsSurrogate(character))
            return false;
        AppendUtf8(character, text);
        at += UnitCount(character);
    }
    return true;
}

std::vector<std::string> PartsOf(const std::string &text)
{
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find_first_of("\\/", start), text.size());
        std::string part = text.substr(start, end - start);
        if (!part.empty() && part != ".")
            parts.push_back(std::move(part));
        start = end + 1;
    }
    return parts;
}

}  // namespace vx
