#include "ProofFixture.h"

#include "CopyTime.h"
#include "UniqueFd.h"

#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr int64_t kFirstDate = 315532800;  // 1980-01-01
constexpr int64_t kNextDate = 86400 * 37 + 3607;

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

// In one call: character by character it would be most of the time of a test.
std::string ContentsOf(const std::string &path, off_t size)
{
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string contents(static_cast<size_t>(size), '\0');
    const ssize_t got = read(file.Get(), &contents[0], contents.size());
    contents.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return contents;
}

void Take(const std::string &folder, const std::string &prefix,
          std::map<std::string, Found> *snapshot)
{
    const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
    while (const dirent *entry = open == nullptr ? nullptr : readdir(open.get())) {
        const std::string name = entry->d_name;
        const std::string path = std::string(folder).append("/").append(name);
        struct stat found;
        if (name == "." || name == ".." || lstat(path.c_str(), &found) != 0)
            continue;
        const bool isFolder = S_ISDIR(found.st_mode);
        const timespec modified = ModifiedOf(found);
        (*snapshot)[prefix + name] = {isFolder ? "folder" : ContentsOf(path, found.st_size),
                                      modified.tv_sec, modified.tv_nsec};
        if (isFolder)
            Take(path, prefix + name + "/", snapshot);
    }
}

}  // namespace

ProofTest::Result ProofTest::Export(const std::string &to, const Arguments &more) const
{
    return ExportWith({}, to, more);
}

ProofTest::Result ProofTest::ExportWith(const Arguments &variables, const std::string &to,
                                        const Arguments &more) const
{
    Arguments arguments = variables;
    for (const std::string &argument : {std::string(VX_TOOL), std::string("--to"), to, _volume})
        arguments.push_back(argument);
    arguments.insert(arguments.end(), more.begin(), more.end());
    ToolRun run("/usr/bin/env", arguments);
    const int status = run.Wait();
    return {status, run.Output(), run.Errors()};
}

ProofTest::Result ProofTest::Shell(const std::string &folder, const std::string &command)
{
    ToolRunSettings settings;
    settings.folder = folder;
    ToolRun run("/bin/sh", {"-c", command}, settings);
    const int status = run.Wait();
    return {status, run.Output(), run.Errors()};
}

void ProofTest::AddFile(const std::string &path, const std::string &contents) const
{
    const std::string made = _folder.WriteFile("volume/" + path, contents);
    const int64_t number = _dates++;
    // To 100 ns, as the volume gives it.
    const timespec date = {kFirstDate + number * kNextDate, 123456700 + 1000 * (number % 1000)};
    const timespec both[] = {date, date};
    utimensat(AT_FDCWD, made.c_str(), both, 0);
}

ProofTest::Snapshot ProofTest::SnapshotOf(const std::string &folder)
{
    Snapshot snapshot;
    Take(folder, "", &snapshot);
    return snapshot;
}

bool ProofTest::Exists(const std::string &path)
{
    return access(path.c_str(), F_OK) == 0;
}

std::string DifferenceOf(const std::map<std::string, Found> &expected,
                         const std::map<std::string, Found> &found)
{
    std::string text;
    for (const auto &[path, entry] : expected) {
        const auto other = found.find(path);
        if (other == found.end())
            text += path + " is missing\n";
        else if (other->second.contents != entry.contents)
            text += path + " has other contents\n";
        else if (!(other->second == entry))
            text += path + " has another date: " + std::to_string(other->second.seconds) + "." +
                    std::to_string(other->second.nanoseconds) + "\n";
    }
    for (const auto &[path, entry] : found) {
        if (expected.count(path) == 0)
            text += path + " should not be there\n";
    }
    return text;
}

}  // namespace vx
