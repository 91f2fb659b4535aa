// The names of the files that an image in several parts consists of: disk.001, disk.002 and so on;
// disk_000; disk.aa; disk.E01 to disk.E99 and then disk.EAA.
//
// Threads: unchanging. Numbers of parts count from 1 on, whatever the names begin with.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vx {

class PartNames {
public:
    // Of a raw image, by the name of any of its parts; nothing if it is no name of a part.
    static std::optional<PartNames> OfRaw(const std::string &path);
    // Of an E01 image, or of one with an extension of its own such as s01.
    static std::optional<PartNames> OfEwf(const std::string &path);

    // Which part the name that was given is the name of.
    size_t Given() const { return _given; }
    // The path of a part; empty if there are no so high numbers.
    std::string Path(size_t number) const;
    // Its last component, for a person.
    std::string Name(size_t number) const;
    bool Exists(size_t number) const;

    // How many of them there are without a gap, from the first one on.
    size_t CountWithoutGap() const;
    // Whether there is one after the gap that follows number parts.
    bool ExistsBehind(size_t number) const;

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
    std::string _stem;    // of the path, with what separates the suffix
    std::string _suffix;  // of the name that was given
    size_t _first;        // what the digits begin with: 0 or 1
    size_t _given = 0;
};

}  // namespace vx
