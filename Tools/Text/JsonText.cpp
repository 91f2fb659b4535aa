#include "JsonText.h"

#include "Unicode.h"

#include <cstdio>

namespace vx {
namespace {

void AppendJson(char32_t character, std::string *json)
{
    if (character == '"' || character == '\\') {
        json->push_back('\\');
        json->push_back(static_cast<char>(character));
    } else if (character < 0x20 || (character >= 0x7f && character < 0xa0)) {
        char escape[8];
        snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(character));
        json->append(escape);
    } else {
        AppendUtf8(character, json);
    }
}

}  // namespace

std::string JsonText(std::u16string_view text)
{
    std::string json = "\"";
    for (size_t position = 0; position < text.size();)
        AppendJson(NextCharacter(text, &position), &json);
    json.push_back('"');
    return json;
}

std::string JsonText(std::string_view text)
{
    std::string json = "\"";
    while (!text.empty()) {
        const char32_t character = TakeCharacter(&text);
        AppendJson(character == kInvalidCharacter ? kReplacementCharacter : character, &json);
    }
    json.push_back('"');
    return json;
}

}  // namespace vx
