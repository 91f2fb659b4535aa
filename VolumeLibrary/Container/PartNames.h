// The names of the parts of an image: disk.001, disk.002 and so on; disk_000; disk.aa; disk.E01 to
// disk.E99 and then disk.EAA.
//
// Threads: immutable. Parts are numbered from 1, whatever number the names begin with.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vx {

class PartNames {
public:
    // Of a raw image, by the name of any of its parts; nothing if this is not the name of a part.
    static std::optional<PartNames> OfRaw(const std::string &path);
    // Of an E01 image, or one with another extension of this form, such as s01.
    static std::optional<PartNames> OfEwf(const std::string &path);

    // The number of the part whose name was given.
    size_t Given() const { return _given; }
    // The path of a part; empty if the number is too high for such names.
    std::string Path(size_t number) const;
    // Its last component, for messages.
    std::string Name(size_t number) const;
    bool Exists(size_t number) const;

    // The number of parts from the first one to the first gap.
    size_t CountWithoutGap() const;
    // Whether a part with a higher number exists.
    bool ExistsBeyond(size_t number) const;

private:
    enum class Kind { kDigits, kLetters, kEwf };

    PartNames(Kind kind, std::string stem, std::string suffix, size_t first)
        : _kind(kind), _stem(std::move(stem)), _suffix(std::move(suffix)), _first(first)
    {
    }

    std::string SuffixOf(size_t number) const;
    // The number of the part with this suffix; 0 if there is none.
    size_t NumberOf(const std::string &suffix) const;

    Kind _kind;
    std::string _stem;    // of the path, with the separator
    std::string _suffix;  // of the name that was given
    size_t _first;        // the lowest number in the names: 0 or 1
    size_t _given = 0;
};

}  // namespace vx
