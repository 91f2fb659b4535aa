#include "UriList.h"

#include <array>
#include <optional>
#include <sstream>
#include <unistd.h>

namespace vx {
namespace {

constexpr char kScheme[] = "file:";
constexpr size_t kSchemeLength = sizeof(kScheme) - 1;
constexpr size_t kLongestHostName = 256;

int digitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

// A path has no NUL; what would stand behind it in the URI is no part of a name.
std::optional<std::string> decoded(const std::string &text)
{
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? digitValue(text[i + 1]) : -1;
        const int low = high < 0 ? -1 : digitValue(text[i + 2]);
        if (low < 0 || high * 16 + low == 0)
            return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return bytes;
}

bool isThisMachine(const std::string &host)
{
    std::array<char, kLongestHostName> name = {};
    if (host.empty() || host == "localhost")
        return true;
    return gethostname(name.data(), name.size() - 1) == 0 && host == name.data();
}

bool isFileScheme(const std::string &uri)
{
    std::string scheme = uri.substr(0, kSchemeLength);
    for (char &character : scheme) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    }
    return scheme == kScheme;
}

std::optional<std::string> fileOfUri(const std::string &uri)
{
    if (!isFileScheme(uri))
        return std::nullopt;
    std::string rest = uri.substr(kSchemeLength);
    if (rest.compare(0, 2, "//") == 0) {
        const size_t slash = rest.find('/', 2);
        if (slash == std::string::npos || !isThisMachine(rest.substr(2, slash - 2)))
            return std::nullopt;
        rest.erase(0, slash);
    }
    if (rest.empty() || rest.front() != '/')
        return std::nullopt;
    return decoded(rest);
}

}  // namespace

std::vector<std::string> filesOfUriList(const std::string &list)
{
    std::vector<std::string> files;
    std::istringstream lines(list);
    for (std::string line; std::getline(lines, line);) {
        // Some programs end the list, or each line of it, with a NUL.
        line.erase(line.find_last_not_of(std::string("\r\0", 2)) + 1);
        if (line.empty() || line.front() == '#')
            continue;
        const std::optional<std::string> file = fileOfUri(line);
        if (!file)
            return {};
        files.push_back(*file);
    }
    return files;
}

}  // namespace vx
