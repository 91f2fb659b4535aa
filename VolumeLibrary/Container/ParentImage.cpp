#include "ParentImage.h"

#include "FileBeside.h"

#include <algorithm>
#include <sys/stat.h>
#include <utility>

namespace vx {
namespace {

constexpr const char *kRole = "its parent";

Error Refused(const std::string &name, const std::string &reason)
{
    return {Status::kUnsupportedContainer,
            std::string(kRole) + " " + ShownName(name) + " " + reason};
}

Error NotNamed(const ParentWanted &wanted)
{
    return {Status::kUnsupportedContainer,
            "it is " + std::string(wanted.child) +
                " and does not name its parent, so the two must be merged into one image first"};
}

Error Missing(const std::string &name, const std::string &child)
{
    return {Status::kTruncatedImage, std::string(kRole) + " " + ShownName(name) +
                                         " is missing: put it into the folder of " +
                                         ShownName(child)};
}

Error IsAnother(const std::string &name, const std::string &child)
{
    return Refused(name, "is not the image that " + ShownName(child) +
                             " was made from, or was changed since: put the right one into its "
                             "place");
}

std::string ShorterThan(uint64_t diskBytes, uint64_t parentBytes, const std::string &name)
{
    return std::string(kRole) + " " + ShownName(name) + " is shorter than the disk: of the " +
           std::to_string(diskBytes - parentBytes) +
           " bytes beyond its end those that the image lacks are taken for zeros";
}

bool HasIdentity(const Container &parent, const std::vector<std::string> &identities)
{
    return identities.empty() ||
           std::find(identities.begin(), identities.end(), parent.identity) != identities.end();
}

// The images from the one that was given to the one whose parent is wanted.
class Chain {
public:
    Chain(const std::string &path, ParentImage::Opener open) : _open(std::move(open)) { Add(path); }

    Result<Container> OpenParent(const ParentWanted &wanted) const
    {
        const std::vector<std::string> names = FileNames(wanted);
        if (names.empty())
            return NotNamed(wanted);
        for (const std::string &name : names) {
            const auto path = PathBeside(_path, kRole, name);
            if (path)
                return OpenAt(*path, name, wanted);
            if (path.Failure().status != Status::kTruncatedImage)
                return path.Failure();
        }
        return Missing(names.front(), ParentImage::FileName(_path));
    }

private:
    struct File {
        dev_t device;
        ino_t number;

        bool operator==(const File &other) const
        {
            return device == other.device && number == other.number;
        }
    };

    static std::vector<std::string> FileNames(const ParentWanted &wanted)
    {
        std::vector<std::string> names;
        for (const std::string &path : wanted.names) {
            const std::string name = ParentImage::FileName(path);
            const bool isNew = std::find(names.begin(), names.end(), name) == names.end();
            if (!name.empty() && isNew && names.size() < ParentWanted::kMostNames)
                names.push_back(name);
        }
        return names;
    }

    // False if the file is in the chain already.
    bool Add(const std::string &path)
    {
        _path = path;
        struct stat found = {};
        (void)stat(path.c_str(), &found);  // opening it reports a failure
        const File file = {found.st_dev, found.st_ino};
        const bool isNew = std::find(_files.begin(), _files.end(), file) == _files.end();
        _files.push_back(file);
        return isNew;
    }

    Result<Container> OpenAt(const std::string &path, const std::string &name,
                             const ParentWanted &wanted) const
    {
        Chain longer = *this;
        if (!longer.Add(path))
            return Refused(name, "is one of its own children");
        if (longer._files.size() > ParentImage::kMostImages)
            return Refused(name, "is not read: more than " +
                                     std::to_string(ParentImage::kMostImages) +
                                     " images in a chain must be merged first");
        const auto openNext = [longer](const ParentWanted &next) {
            return longer.OpenParent(next);
        };
        auto parent = _open(path, wanted.kind, openNext);
        if (!parent)
            return NotOpened(parent.Failure(), name);
        if (!HasIdentity(*parent, wanted.identities))
            return IsAnother(name, ParentImage::FileName(_path));
        for (std::string &note : parent->notes)
            note.insert(0, std::string(kRole) + " " + ShownName(name) + ": ");
        if (wanted.diskBytes > 0 && parent->source->Size() < wanted.diskBytes)
            parent->notes.push_back(ShorterThan(wanted.diskBytes, parent->source->Size(), name));
        return parent;
    }

    // Only the file that is at fault is named, not the chain that leads to it.
    static Error NotOpened(Error error, const std::string &name)
    {
        if (error.detail.rfind(kRole, 0) == 0)
            return error;
        const char *text =
            IsPermissionError(error) ? " may not be read by your user" : " does not open: ";
        error.detail =
            kRole + (" " + ShownName(name)) + text + (IsPermissionError(error) ? "" : error.detail);
        return error;
    }

    const ParentImage::Opener _open;
    std::string _path;
    std::vector<File> _files;
};

}  // namespace

ParentOpener NoParents()
{
    return [](const ParentWanted &wanted) -> Result<Container> {
        return wanted.names.empty() ? NotNamed(wanted)
                                    : Missing(ParentImage::FileName(wanted.names.front()), "it");
    };
}

ParentOpener ParentImage::Beside(const std::string &path, Opener open)
{
    return [chain = Chain(path, std::move(open))](const ParentWanted &wanted) {
        return chain.OpenParent(wanted);
    };
}

std::string ParentImage::FileName(const std::string &path)
{
    return path.substr(path.find_last_of("/\\") + 1);
}

}  // namespace vx
