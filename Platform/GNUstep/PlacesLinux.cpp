#include "Places.h"

#include <mntent.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace vx {
namespace {

bool isFolder(const std::string &path)
{
    struct stat found = {};
    return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

bool beginsWith(const std::string &text, const std::string &beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

// A line is NAME="/path" or NAME="$HOME/path"; empty without one of that name.
std::string namedFolder(const std::string &file, const std::string &name, const std::string &home)
{
    const std::string beginning = name + "=\"", inHome = "$HOME";
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        const size_t end = line.rfind('"');
        if (!beginsWith(line, beginning) || end < beginning.size())
            continue;
        const std::string value = line.substr(beginning.size(), end - beginning.size());
        return beginsWith(value, inHome) ? home + value.substr(inHome.size()) : value;
    }
    return {};
}

void addUserFolder(std::vector<Place> &places, PlaceKind kind, const std::string &home,
                   const std::string &named, const char *english)
{
    const std::string path = named.empty() ? home + "/" + english : named;
    // A desktop without such a folder names the home itself.
    if (path != home && path != home + "/" && isFolder(path))
        places.push_back({kind, path});
}

bool isWhereDisksAreMounted(const std::string &path)
{
    return beginsWith(path, "/media/") || beginsWith(path, "/run/media/") ||
           beginsWith(path, "/mnt/") || path == "/mnt";
}

void addDisks(std::vector<Place> &places, const std::string &mounts)
{
    FILE *const table = setmntent(mounts.c_str(), "re");
    if (table == nullptr)
        return;
    mntent entry = {};
    char text[8192];
    while (getmntent_r(table, &entry, text, sizeof text) != nullptr)
        if (isWhereDisksAreMounted(entry.mnt_dir))
            places.push_back({PlaceKind::kDisk, entry.mnt_dir});
    endmntent(table);
}

std::string environment(const char *name)
{
    const char *const value = getenv(name);
    return value == nullptr ? "" : value;
}

}  // namespace

std::vector<Place> placesIn(const std::string &home, const std::string &userFolders,
                            const std::string &mounts)
{
    std::vector<Place> places;
    if (isFolder(home))
        places.push_back({PlaceKind::kHome, home});
    addUserFolder(places, PlaceKind::kDesktop, home,
                  namedFolder(userFolders, "XDG_DESKTOP_DIR", home), "Desktop");
    addUserFolder(places, PlaceKind::kDocuments, home,
                  namedFolder(userFolders, "XDG_DOCUMENTS_DIR", home), "Documents");
    addDisks(places, mounts);
    return places;
}

std::vector<Place> placesOfUser()
{
    const std::string home = environment("HOME"), configuration = environment("XDG_CONFIG_HOME");
    const std::string folder = configuration.empty() ? home + "/.config" : configuration;
    return placesIn(home, folder + "/user-dirs.dirs", "/proc/self/mounts");
}

}  // namespace vx
