// The volumes that were opened last: ten at most, the newest first, each once. Storing the paths is
// the program's business.
//
// Threads: one at a time.
#pragma once

#include <string>
#include <vector>

namespace vx {

struct RecentVolume {
    std::string path;
    bool isMissing = false;  // nothing has this path now: to be shown greyed
};

class RecentVolumes {
public:
    RecentVolumes() = default;
    // paths: as stored, in any state.
    explicit RecentVolumes(const std::vector<std::string> &paths);

    void Add(const std::string &path);
    void Remove(const std::string &path);

    // To be stored.
    const std::vector<std::string> &Paths() const { return _paths; }
    // To be shown. Asks the system about each of them; a volume "disk.vhdx#2" exists if its image
    // does.
    std::vector<RecentVolume> Look() const;

private:
    std::vector<std::string> _paths;
};

}  // namespace vx
