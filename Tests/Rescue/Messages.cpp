#include "Messages.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace vx {
namespace {

// The lines of success and progress name no failure.
bool IsOrdinary(const std::string &line)
{
    for (const char *start : {"Exporting ", "Exported ", "Made the folder ", "Read again "}) {
        if (line.compare(0, std::char_traits<char>::length(start), start) == 0)
            return true;
    }
    return false;
}

bool EndsPath(char c)
{
    return c == ':' || c == ' ' || c == '\n' || c == '"' || c == ',' || c == ')' || c == '\'';
}

// As the terminal shows it.
std::string Shown(const std::string &path)
{
    std::string shown;
    for (const char c : path)
        shown += c == '\\' ? "\\\\" : std::string(1, c);
    return shown;
}

}  // namespace

Messages::Messages(const std::string &text)
{
    std::stringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (!IsOrdinary(line))
            _text += " " + line + "\n";
    }
}

bool Messages::Name(const std::string &path) const
{
    for (std::string part = path; !part.empty(); part.resize(part.rfind('/'))) {
        if (NameExactly(Shown(part)))
            return true;
    }
    return NameExactly("/");
}

bool Messages::NameExactly(const std::string &path) const
{
    const bool isRoot = path == "/";
    for (size_t at = _text.find(path); at != std::string::npos; at = _text.find(path, at + 1)) {
        const char before = at == 0 ? ' ' : _text[at - 1];
        const bool begins = !isRoot || before == ' ' || before == '"';
        if (begins && EndsPath(_text[at + path.size()]))
            return true;
    }
    return false;
}

bool Messages::ListRenamed(const std::string &path, const std::string &copy) const
{
    const size_t list = _text.find("Arrived under another name: ");
    return list != std::string::npos &&
           _text.find(" " + Shown(path) + ": as " + Shown(copy) + "\n", list) != std::string::npos;
}

size_t Messages::NotCopied() const
{
    const std::string label = "Not copied: ";
    const size_t at = _text.find(label);
    if (at == std::string::npos)
        return 0;
    std::string digits = _text.substr(at + label.size(), 20);
    digits.erase(std::remove(digits.begin(), digits.end(), ','), digits.end());
    return std::strtoul(digits.c_str(), nullptr, 10);
}

}  // namespace vx
