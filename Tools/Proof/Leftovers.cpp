#include "Leftovers.h"

#include "DestinationTraits.h"
#include "DestinationTree.h"
#include "NameForms.h"
#include "PartialNames.h"
#include "PathText.h"
#include "PlanNames.h"
#include "UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr std::string_view kEnd = ".partial";

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

bool IsOwnFile(int folder, const std::string &name)
{
    struct stat found;
    return fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(found.st_mode) && found.st_nlink == 1 && found.st_uid == geteuid();
}

// Another export may be writing it: that one has locked it (ArrivingFile).
bool IsInUse(int folder, const std::string &name)
{
    const UniqueFd file(
        openat(folder, name.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return !file || (flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK);
}

// ".a.txt.12.partial" → 12; 1 for none
unsigned NumberOf(std::string_view partial)
{
    partial.remove_suffix(kEnd.size());
    partial.remove_prefix(std::min(partial.rfind('.') + 1, partial.size()));
    unsigned number = 1;
    const char *end = partial.data() + partial.size();
    const auto read = std::from_chars(partial.data(), end, number);
    return read.ptr == end && read.ec == std::errc() ? number : 1;
}

// The names in an open folder that could be leftovers.
std::vector<std::string> CandidatesIn(int folder, const PartialNames &partials)
{
    std::vector<std::string> found;
    UniqueFd own(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, CloseFolder> open(own ? fdopendir(own.Get()) : nullptr);
    if (open != nullptr)
        own.Release();
    while (const dirent *entry = open == nullptr ? nullptr : readdir(open.get())) {
        const std::string_view name = entry->d_name;
        const bool isHidden = name.size() > kEnd.size() && name[0] == '.' &&
                              name.substr(name.size() - kEnd.size()) == kEnd;
        if (isHidden && partials.IsFree(std::string(name)))
            found.emplace_back(name);
    }
    return found;
}

class Remover {
public:
    Remover(const PartialNames &partials, size_t longestName, DestinationTree &tree)
        : _partials(partials), _longestName(longestName), _tree(tree)
    {
    }

    void RemoveOf(const SplitPath &path)
    {
        if (_folderPath != path.folder || !_hasFolder)
            Enter(path.folder);
        for (std::string &candidate : _candidates) {
            const bool isOf =
                candidate == PartialName(path.name, NumberOf(candidate), _longestName) ||
                candidate == PartialName(path.name, 1, _longestName);
            if (!isOf || !IsOwnFile(_folder->Get(), candidate) ||
                IsInUse(_folder->Get(), candidate))
                continue;
            _removed += unlinkat(_folder->Get(), candidate.c_str(), 0) == 0 ? 1 : 0;
        }
    }

    int64_t Removed() const { return _removed; }

private:
    void Enter(const std::string &path)
    {
        std::string reason;
        int error = 0;
        _hasFolder = true;
        _folderPath = path;
        _candidates.clear();
        _folder = _tree.Enter(path, DestinationTree::Missing::kFail, &reason, &error);
        if (_folder != nullptr)
            _candidates = CandidatesIn(_folder->Get(), _partials);
    }

    const PartialNames &_partials;
    const size_t _longestName;
    DestinationTree &_tree;
    bool _hasFolder = false;
    std::string _folderPath;
    std::shared_ptr<const UniqueFd> _folder;
    std::vector<std::string> _candidates;
    int64_t _removed = 0;
};

}  // namespace

// By number, in which the files of a folder follow each other.
int64_t RemoveLeftovers(const ExportScene &scene, const PartialNames &partials)
{
    Remover remover(partials, scene.traits.longestName, scene.tree);
    bool isChanged = false;
    for (ExportPlan::Number number = 1; number < scene.plan.Size(); ++number) {
        if (scene.plan.At(number).IsFolder())
            continue;
        const std::string path = scene.names.PathOf(number, &isChanged);
        if (!path.empty())
            remover.RemoveOf(SplitPath(path));
    }
    return remover.Removed();
}

}  // namespace vx
