#include "ToolFixture.h"

#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

std::string ContentsOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void AddFiles(const std::string &folder, const std::string &prefix,
              std::map<std::string, std::string> *files)
{
    const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
    if (open == nullptr)
        return;
    while (const dirent *entry = readdir(open.get())) {
        const std::string name = entry->d_name;
        const std::string path = std::string(folder).append("/").append(name);
        struct stat found;
        if (name == "." || name == ".." || lstat(path.c_str(), &found) != 0)
            continue;
        if (S_ISDIR(found.st_mode))
            AddFiles(path, prefix + name + "/", files);
        else if (S_ISREG(found.st_mode))
            (*files)[prefix + name] = ContentsOf(path);
    }
}

}  // namespace

const std::string ToolTest::kTool = VX_TOOL;
const std::string ToolTest::kStandIn = VX_STAND_IN;
const std::string ToolTest::kOlderStandIn = VX_OLDER_STAND_IN;
const std::string ToolTest::kEntryless = VX_ENTRYLESS;

ToolTest::Result ToolTest::Run(const Arguments &arguments, const ToolRun::Settings &settings)
{
    ToolRun run(kTool, arguments, settings);
    const int status = run.Wait();
    return {status, run.Output(), run.Errors()};
}

ToolTest::Result ToolTest::RunWith(const std::string &library, const Arguments &arguments,
                                   const ToolRun::Settings &settings)
{
    ToolRun run(CopyOfTool(library), arguments, settings);
    const int status = run.Wait();
    return {status, run.Output(), run.Errors()};
}

// The library is put where a bare tool looks on either platform.
std::string ToolTest::CopyOfTool(const std::string &library)
{
    std::string tool = _folder.WriteFile("programs/bin/tool", ContentsOf(kTool));
    chmod(tool.c_str(), 0755);
    for (const char *place : {"programs/bin/Resources/", "programs/"}) {
        const std::string link = std::string(place) + "libBitLockerWapper.dylib";
        if (!library.empty() && access(_folder.At(link).c_str(), F_OK) != 0)
            _folder.MakeLink(link, library);
    }
    return tool;
}

ToolTest::Files ToolTest::FilesBelow(const std::string &folder)
{
    Files files;
    AddFiles(folder, "", &files);
    return files;
}

::testing::AssertionResult Holds(const std::string &text, const std::string &part)
{
    if (text.find(part) != std::string::npos)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "no \"" << part << "\" in:\n" << text;
}

::testing::AssertionResult Lacks(const std::string &text, const std::string &part)
{
    if (text.find(part) == std::string::npos)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "\"" << part << "\" stands in:\n" << text;
}

}  // namespace vx
