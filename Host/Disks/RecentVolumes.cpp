#include "RecentVolumes.h"

#include <algorithm>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kMost = 10;

bool Exists(const std::string &path)
{
    return access(path.c_str(), F_OK) == 0;
}

bool IsNumber(const std::string &text, const char *digits)
{
    return !text.empty() && text.find_first_not_of(digits) == std::string::npos;
}

// "2" after "#", "1048576" or "0x100000" after "@".
bool IsChoice(char mark, const std::string &text)
{
    constexpr size_t kPrefix = 2;
    const std::string prefix = text.substr(0, kPrefix);
    if (mark == '@' && (prefix == "0x" || prefix == "0X"))
        return IsNumber(text.substr(kPrefix), "0123456789abcdefABCDEF");
    return IsNumber(text, "0123456789");
}

// "disk.vhdx#2", "disk.img@1048576" → without what chooses a volume.
std::string WithoutChoice(const std::string &path)
{
    const size_t mark = path.find_last_of("#@");
    const bool hasChoice = mark != std::string::npos && IsChoice(path[mark], path.substr(mark + 1));
    return hasChoice ? path.substr(0, mark) : path;
}

}  // namespace

RecentVolumes::RecentVolumes(const std::vector<std::string> &paths)
{
    for (auto path = paths.rbegin(); path != paths.rend(); ++path)
        Add(*path);
}

void RecentVolumes::Add(const std::string &path)
{
    if (path.empty())
        return;
    Remove(path);
    _paths.insert(_paths.begin(), path);
    _paths.resize(std::min(_paths.size(), kMost));
}

void RecentVolumes::Remove(const std::string &path)
{
    _paths.erase(std::remove(_paths.begin(), _paths.end(), path), _paths.end());
}

std::vector<RecentVolume> RecentVolumes::Look() const
{
    std::vector<RecentVolume> volumes;
    for (const std::string &path : _paths)
        volumes.push_back({path, !Exists(path) && !Exists(WithoutChoice(path))});
    return volumes;
}

}  // namespace vx
