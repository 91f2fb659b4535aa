#include "LocalNames.h"

#include "NameForms.h"

#include <algorithm>
#include <vector>

namespace vx {
namespace {

// Stands for a name that consists of separators alone.
constexpr char kPlaceholder[] = "_";
// In front of the number of a name that was cut.
constexpr char kNumberMark = '~';

// "a\b/c" → "a", "b", "c"; nothing for what is not there between two separators.
std::vector<std::string> PartsOf(const std::string &name)
{
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= name.size()) {
        const size_t end = std::min(name.find_first_of("\\/", start), name.size());
        std::string part = name.substr(start, end - start);
        if (!part.empty() && part != ".")
            parts.push_back(std::move(part));
        start = end + 1;
    }
    return parts;
}

// A cut name has a number from 1; the placeholder has one only if there is more than one of it.
std::string Numbered(const std::string &name, unsigned number, size_t longest)
{
    const bool isWhole = name.size() <= longest;
    const unsigned shown = isWhole ? number - 1 : number;
    const std::string mark = shown == 0 ? "" : kNumberMark + std::to_string(shown);
    return MarkedName(name, mark, longest);
}

}  // namespace

std::string LocalNames::PathOf(Z5FindData *entry, bool *isChanged)
{
    Place place = FolderOf(entry);
    const bool isRoot = [entry parentNode] == nil;
    if ((!isRoot && place.path.empty()) || !Append(entry, [entry strFileName], &place))
        return "";
    *isChanged = place.isChanged;
    return place.path;
}

// Files come in the order of their folders, so one folder is kept.
LocalNames::Place LocalNames::FolderOf(Z5FindData *entry)
{
    Z5FindData *folder = [entry parentNode];
    if (_hasFolder && folder == _folder)
        return _folderPlace;
    std::vector<Z5FindData *> folders;
    for (Z5FindData *node = folder; node != nil; node = [node parentNode])
        folders.push_back(node);
    Place place;
    for (auto node = folders.rbegin(); node != folders.rend(); ++node) {
        if (!Append(*node, [*node strFileName], &place)) {
            place = {};
            break;
        }
    }
    _folder = folder;
    _hasFolder = true;
    _folderPlace = place;
    return place;
}

bool LocalNames::Append(Z5FindData *entry, NSString *name, Place *place)
{
    const char *text = [name UTF8String];
    if (text == nullptr)
        return false;
    std::vector<std::string> parts = PartsOf(text);
    const bool isEmpty = parts.empty();
    if (isEmpty)
        parts.push_back(kPlaceholder);
    for (const std::string &part : parts) {
        if (part == "..")
            return false;
        const bool isKept = !isEmpty && part.size() <= _longestName;
        const std::string chosen =
            isKept ? part : NameFor(entry, place->path, part, isEmpty ? text : part);
        place->isChanged = place->isChanged || !isKept;
        place->path += (place->path.empty() ? "" : "/") + chosen;
    }
    return true;
}

// The same name for the same original at every call.
std::string LocalNames::NameFor(Z5FindData *entry, const std::string &folder,
                                const std::string &name, const std::string &original)
{
    std::string &chosen = _chosen[folder + "/" + original];
    if (chosen.empty())
        chosen = FreeName(entry, folder, name);
    return chosen;
}

std::string LocalNames::FreeName(Z5FindData *entry, const std::string &folder,
                                 const std::string &name)
{
    const std::string place = folder + "/";
    unsigned &number = _numbers[place + MarkedName(name, "", _longestName / 2)];
    while (true) {
        std::string candidate = Numbered(name, ++number, _longestName);
        std::string path = place;
        path += candidate;
        if (!IsTakenOnVolume(entry, candidate) && _given.insert(path).second)
            return candidate;
    }
}

bool LocalNames::IsTakenOnVolume(Z5FindData *entry, const std::string &name)
{
    Z5FindData *folder = [entry parentNode];
    if (!_hasSiblings || folder != _siblingsFolder) {
        _siblings.clear();
        NSArray *siblings = folder == nil ? [_explorer rootDirectory] : [folder subFileData];
        for (Z5FindData *sibling in siblings) {
            const char *text = [[sibling strFileName] UTF8String];
            const std::string own = text == nullptr ? "" : text;
            if (own == kPlaceholder || own.find(kNumberMark) != std::string::npos)
                _siblings.insert(own);
        }
        _siblingsFolder = folder;
        _hasSiblings = true;
    }
    return _siblings.count(name) != 0;
}

}  // namespace vx
