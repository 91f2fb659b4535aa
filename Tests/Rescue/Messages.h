// What the messages of a run say of files and folders.
#pragma once

#include <cstddef>
#include <string>

namespace vx {

class Messages {
public:
    explicit Messages(const std::string &text);

    // Whether the path of the volume is named, or a folder above it.
    bool Name(const std::string &path) const;
    // Whether the name stands anywhere.
    bool Hold(const std::string &name) const { return _text.find(name) != std::string::npos; }
    // Whether the copy's path is given for that of the volume, among those that changed.
    bool ListRenamed(const std::string &path, const std::string &copy) const;
    // How many files the messages give a count of that were not come to.
    size_t NotCopied() const;
    bool IsEmpty() const { return _text.empty(); }

private:
    bool NameExactly(const std::string &path) const;

    std::string _text;  // without the lines that name where everything goes
};

}  // namespace vx
