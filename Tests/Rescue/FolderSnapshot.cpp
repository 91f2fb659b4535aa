#include "FolderSnapshot.h"

#include <climits>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

std::string BytesOf(const std::string &path, const struct stat &found)
{
    if (S_ISLNK(found.st_mode)) {
        char text[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), text, sizeof text);
        return {text, static_cast<size_t>(length < 0 ? 0 : length)};
    }
    if (!S_ISREG(found.st_mode))
        return {};
    std::string bytes(static_cast<size_t>(found.st_size), '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), found.st_size);
    bytes.resize(static_cast<size_t>(file.gcount()));
    return bytes;
}

}  // namespace

FolderSnapshot::FolderSnapshot(const std::string &folder)
{
    Take(folder, "");
}

const SnapshotEntry *FolderSnapshot::At(const std::string &path) const
{
    const auto found = _entries.find(path);
    return found == _entries.end() ? nullptr : &found->second;
}

void FolderSnapshot::Take(const std::string &folder, const std::string &below)
{
    const std::unique_ptr<DIR, CloseFolder> open(opendir((folder + below).c_str()));
    while (const dirent *entry = open == nullptr ? nullptr : readdir(open.get())) {
        const std::string name = entry->d_name;
        const std::string path = std::string(below).append("/").append(name);
        struct stat found = {};
        if (name == "." || name == ".." || lstat((folder + path).c_str(), &found) != 0)
            continue;
        _entries[path] = {found.st_mode & S_IFMT, found.st_ino, BytesOf(folder + path, found)};
        if (S_ISDIR(found.st_mode))
            Take(folder, path);
    }
}

}  // namespace vx
