// The folders that people look for first: home, desktop, documents and the mounted disks.
//
// Nothing is waited for: mounted disks are not looked at, only named.
// Facts: xdg-user-dirs, "user-dirs.dirs"; getmntent(3).
// Errors: silent; what is not there is not among the places.
#pragma once

#include <string>
#include <vector>

namespace vx {

enum class PlaceKind { kHome, kDesktop, kDocuments, kDisk };

struct Place {
    PlaceKind kind;
    std::string path;
};

// `userFolders`: the file in which the desktop keeps the names of the user's folders, without which
// they have their English names. `mounts`: a table of mounts. Disks are what is mounted below
// /media, /run/media and /mnt.
std::vector<Place> placesIn(const std::string &home, const std::string &userFolders,
                            const std::string &mounts);

// Those of this process's user.
std::vector<Place> placesOfUser();

}  // namespace vx
