#include "PlacedFiles.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cctype>
#include <fcntl.h>

namespace vx {
namespace {

// Without the dots and blanks at the ends of names, which some file systems leave out.
std::string Trimmed(const std::string &path)
{
    std::string trimmed;
    for (const char byte : path) {
        while (byte == '/' && !trimmed.empty() && (trimmed.back() == '.' || trimmed.back() == ' '))
            trimmed.pop_back();
        trimmed += byte;
    }
    return trimmed.substr(0, trimmed.find_last_not_of(". ") + 1);
}

// The same for all paths that a file system may take for one.
std::string Folded(const std::string &whole)
{
    const std::string path = Trimmed(whole);
    const bool isAscii = std::none_of(path.begin(), path.end(),
                                      [](char c) { return static_cast<unsigned char>(c) > 127; });
    std::string folded = path;
    if (isAscii) {
        std::transform(path.begin(), path.end(), folded.begin(),
                       [](unsigned char c) { return static_cast<char>(tolower(c)); });
        return folded;
    }
    @autoreleasepool {
        NSString *text = [NSString stringWithUTF8String:path.c_str()];
        const char *lower = [[[[text decomposedStringWithCanonicalMapping] uppercaseString]
            lowercaseString] UTF8String];
        return lower == nullptr ? path : lower;
    }
}

}  // namespace

void PlacedFiles::Add(const FileIdentity &identity, const std::string &path, size_t arrival)
{
    _byIdentity[identity] = arrival;
    _byFoldedPath.insert({Folded(path), {path, arrival}});
}

std::optional<size_t> PlacedFiles::At(int root, const std::string &path,
                                      const struct stat &found) const
{
    const auto known = _byIdentity.find(IdentityOf(found));
    if (known != _byIdentity.end())
        return known->second;
    const auto alike = _byFoldedPath.equal_range(Folded(path));
    for (auto placed = alike.first; placed != alike.second; ++placed) {
        struct stat other;
        const bool isSame = placed->second.path == path;
        if (isSame ||
            (fstatat(root, placed->second.path.c_str(), &other, AT_SYMLINK_NOFOLLOW) == 0 &&
             IdentityOf(other) == IdentityOf(found)))
            return placed->second.arrival;
    }
    return std::nullopt;
}

}  // namespace vx
