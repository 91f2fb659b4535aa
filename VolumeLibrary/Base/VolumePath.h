// A checked path inside a folder volume, as the disk's bytes and relative to the volume's root.
//
//   file    /Reports/2019/a.txt  -> Reports/2019/a.txt
//   pattern /Reports/*           -> Reports
//   pattern /*                   -> (empty: the root)
//
// Refused: null, no "/" in front, an empty component, a component "." or "..", a surrogate that
// stands alone, more than kMaxUnits units, the root where a file is needed, and a pattern that
// does not end with "/*".
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vx {

class VolumePath {
public:
    static constexpr size_t kMaxUnits = 32767;

    static std::optional<VolumePath> FromFile(const char16_t *path);
    static std::optional<VolumePath> FromPattern(const char16_t *pattern);

    // Components separated by "/", none in front and none at the end.
    const std::string &Relative() const { return _relative; }

private:
    explicit VolumePath(std::string relative) : _relative(std::move(relative)) {}
    static std::optional<VolumePath> FromUnits(std::u16string_view units);

    std::string _relative;
};

// "a/b/c" gives "a/b"; a single component gives the empty path.
std::string ParentOfRelative(const std::string &relative);
// The part after the last "/".
std::string NameOfRelative(const std::string &relative);
// The reverse of the two: an empty folder gives the name alone.
std::string JoinRelative(const std::string &folder, const char *name);

}  // namespace vx
