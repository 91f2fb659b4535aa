// Paths of this machine as text; nothing is looked up.
#pragma once

#include <string>

namespace vx {

// "/a/b" → "/a", "/b" → "/", "b" → ".", "a/b/" → "a"
std::string FolderOf(std::string path);

// Below some folder, which is "" here: "a/b" → "a" and "b", "b" → "" and "b"
struct SplitPath {
    explicit SplitPath(const std::string &path);

    std::string folder;
    std::string name;
};

}  // namespace vx
