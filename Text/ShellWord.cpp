#include "ShellWord.h"

#include "TerminalText.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

bool IsPlain(char character)
{
    const bool isLetterOrDigit = (character >= 'a' && character <= 'z') ||
                                 (character >= 'A' && character <= 'Z') ||
                                 (character >= '0' && character <= '9');
    return isLetterOrDigit || (character != '\0' && strchr("_./@%+=:,-#", character) != nullptr);
}

std::string Quoted(const std::string &text)
{
    std::string word = "'";
    for (const char character : text)
        word += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return word + "'";
}

// TerminalText writes escapes as the shells read them.
std::string Escaped(const std::string &text)
{
    std::string word = "$'";
    for (const char character : TerminalText(text))
        word += character == '\'' ? std::string("\\'") : std::string(1, character);
    return word + "'";
}

bool NeedsEscapes(const std::string &text)
{
    std::string doubled;
    for (const char character : text)
        doubled.append(character == '\\' ? 2 : 1, character);
    return TerminalText(text) != doubled;
}

}  // namespace

std::string ShellWord(const std::string &text)
{
    if (!text.empty() && text.front() == '-')
        return ShellWord("./" + text);
    if (NeedsEscapes(text))
        return Escaped(text);
    const bool isPlain =
        !text.empty() && text.front() != '#' && std::all_of(text.begin(), text.end(), IsPlain);
    return isPlain ? text : Quoted(text);
}

}  // namespace vx
