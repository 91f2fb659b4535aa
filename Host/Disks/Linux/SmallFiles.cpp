#include "SmallFiles.h"

#include "UniqueFd.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace vx {
namespace {

constexpr size_t kLongestFile = 1024 * 1024;

// Without waiting for the writer of a FIFO.
UniqueFd OpenOrdinary(const std::string &path)
{
    UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat found;
    if (!file || fstat(file.Get(), &found) != 0 || !S_ISREG(found.st_mode))
        return UniqueFd();
    return file;
}

}  // namespace

std::string ReadSmallFile(const std::string &path)
{
    const UniqueFd file = OpenOrdinary(path);
    std::string text;
    char buffer[4096];
    while (file && text.size() < kLongestFile) {
        const ssize_t count = read(file.Get(), buffer, sizeof(buffer));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

std::string ReadLineOf(const std::string &path)
{
    const std::string text = ReadSmallFile(path);
    return text.substr(0, text.find('\n'));
}

std::vector<std::string> NamesIn(const std::string &folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> open(opendir(folder.c_str()), closedir);
    if (!open)
        return names;
    while (const dirent *entry = readdir(open.get())) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    return names;
}

}  // namespace vx
