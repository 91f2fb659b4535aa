#include "ProgramFolder.h"

#include "PathText.h"

#include <cstdlib>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace {

std::string RealFolderOf(const std::string &program)
{
    const std::unique_ptr<char, decltype(&free)> real(realpath(program.c_str(), nullptr), &free);
    return real ? vx::FolderOf(real.get()) : "";
}

}  // namespace

namespace vx {

std::string ProgramFolder(const std::string &argv0)
{
    if (argv0.find('/') != std::string::npos)
        return RealFolderOf(argv0);
    const char *path = getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::string program = (folder.empty() ? "." : folder) + "/" + argv0;
        if (access(program.c_str(), X_OK) == 0)
            return RealFolderOf(program);
    }
    return "";
}

}  // namespace vx
