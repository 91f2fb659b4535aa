#include "ProgramFolder.h"

#include <cstdlib>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace {

std::string FolderOf(const std::string &program)
{
    const std::unique_ptr<char, decltype(&free)> real(realpath(program.c_str(), nullptr), &free);
    const std::string path = real ? real.get() : "";
    return path.substr(0, path.rfind('/') == std::string::npos ? 0 : path.rfind('/'));
}

}  // namespace

namespace vx {

std::string ProgramFolder(const std::string &argv0)
{
    if (argv0.find('/') != std::string::npos)
        return FolderOf(argv0);
    const char *path = getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::string program = (folder.empty() ? "." : folder) + "/" + argv0;
        if (access(program.c_str(), X_OK) == 0)
            return FolderOf(program);
    }
    return "";
}

}  // namespace vx
