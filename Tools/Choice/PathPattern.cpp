#include "PathPattern.h"

#include <algorithm>

namespace vx {
namespace {

bool BeginsWith(std::string_view text, std::string_view begin)
{
    return text.substr(0, begin.size()) == begin;
}

bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The last parts of the path, with this number of slashes between them; nothing if it has fewer.
std::string_view LastParts(std::string_view path, size_t slashes)
{
    size_t begin = path.size();
    for (size_t left = slashes + 1; left > 0; --left) {
        const size_t slash = begin == 0 ? std::string_view::npos : path.rfind('/', begin - 1);
        if (slash == std::string_view::npos)
            return left == 1 ? path : std::string_view();
        begin = slash;
    }
    return path.substr(begin + 1);
}

std::string WithoutLastSlash(const std::string &pattern)
{
    return pattern.size() > 1 && pattern.back() == '/' ? pattern.substr(0, pattern.size() - 1)
                                                       : pattern;
}

std::string WithoutFirstSlash(const std::string &pattern)
{
    return pattern.substr(BeginsWith(pattern, "/") ? 1 : 0);
}

}  // namespace

PathPattern::PathPattern(const std::string &pattern)
    : _text(WithoutFirstSlash(WithoutLastSlash(pattern))),
      _isForFolders(WithoutLastSlash(pattern) != pattern),
      _hasWildcards(_text.find_first_of("*?[") != std::string::npos),
      _matchesContents(EndsWith(_text, "***")),
      _slashes(static_cast<size_t>(std::count(_text.begin(), _text.end(), '/'))),
      _wildcards(_text)
{
    const bool isAnchored = BeginsWith(pattern, "/");
    const bool crossesFolders = _text.find("**") != std::string::npos;
    _isForPaths = isAnchored || _slashes > 0 || crossesFolders;
    if (isAnchored)
        _begin = Begin::kRoot;
    else if (BeginsWith(_text, "**"))
        _begin = Begin::kSlashOfRoot;
    else if (crossesFolders)
        _begin = Begin::kAnyPart;
}

bool PathPattern::Matches(std::string_view path, bool isFolder) const
{
    if (_isForFolders && !isFolder)
        return false;
    if (_begin == Begin::kLastParts) {
        path = LastParts(path, _slashes);
        if (path.empty())
            return false;
    }
    if (!_hasWildcards)
        return path == _text;
    Wildcards::Frame frame;
    frame.hasSlashBefore = _begin == Begin::kSlashOfRoot;
    frame.hasSlashAfter = isFolder && _matchesContents;
    frame.mayBeginAfterSlashes = _begin == Begin::kAnyPart;
    return _wildcards.Match(path, frame);
}

}  // namespace vx
