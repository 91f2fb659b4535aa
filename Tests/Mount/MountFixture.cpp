#include "MountFixture.h"

#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

std::string ContentsOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

void MountTest::SetUp()
{
    if (access("/dev/fuse", R_OK | W_OK) != 0)
        GTEST_SKIP() << "nothing can be mounted here: /dev/fuse is missing or may not be used";
    VX_NEEDS("fusermount3");
    VX_NEEDS("mountpoint");
}

void MountTest::TearDown()
{
    for (const std::string &folder : _mountPoints) {
        if (IsMounted(folder))
            Shell("fusermount3 -u -z " + Quoted(folder));
    }
}

std::string MountTest::MountPoint()
{
    _mountPoints.push_back(_folder.MakeFolder("mount" + std::to_string(_mountPoints.size())));
    return _mountPoints.back();
}

std::string MountTest::Mount(const Arguments &arguments)
{
    return MountBy(VX_MOUNT, arguments);
}

std::string MountTest::MountStandIn(const std::string &tree)
{
    return MountBy(ProgramWith(VX_STAND_IN), {tree});
}

std::string MountTest::MountBy(const std::string &program, const Arguments &arguments)
{
    const std::string folder = MountPoint();
    Arguments all = {"--background"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.push_back(folder);
    const Result result = RunWith(program, all);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(IsMounted(folder));
    return result.status == 0 ? folder : "";
}

void MountTest::Unmount(const std::string &folder)
{
    EXPECT_EQ(Shell("fusermount3 -u " + Quoted(folder)).status, 0);
}

// A dead mount, too.
bool MountTest::IsMounted(const std::string &folder)
{
    return Shell("grep -qF " + Quoted(" " + folder + " ") + " /proc/self/mounts").status == 0;
}

MountTest::Result MountTest::Run(const Arguments &arguments)
{
    return RunWith(VX_MOUNT, arguments);
}

MountTest::Result MountTest::RunWith(const std::string &program, const Arguments &arguments)
{
    ToolRun run(program, arguments);
    const int status = run.Wait();
    return {status, run.Output(), run.Errors()};
}

std::string MountTest::ProgramWith(const std::string &library)
{
    const std::string program = _folder.At("programs/volume-mount");
    if (access(program.c_str(), X_OK) == 0)
        return program;
    _folder.WriteFile("programs/volume-mount", ContentsOf(VX_MOUNT));
    chmod(program.c_str(), 0755);
    if (!library.empty())
        _folder.MakeLink("programs/libBitLockerWapper.dylib", library);
    return program;
}

MountTest::Result MountTest::Shell(const std::string &line)
{
    ToolRun run("/bin/sh", {"-c", "PATH=$PATH:/usr/sbin:/sbin; exec 2>&1; " + line});
    const int status = run.Wait();
    std::string output = run.Output();
    if (!output.empty() && output.back() == '\n')
        output.pop_back();
    return {status, output, ""};
}

// Prints where they differ, and nothing else.
void MountTest::ExpectSameFacts(const std::string &found, const std::string &expected)
{
    const auto facts = [](const std::string &folder) {
        return "(cd " + Quoted(folder) +
               " && { find . -mindepth 1 \\( -type f -printf 'file %s %T@ %p\\0' \\) -o"
               " \\( -type d -printf 'folder %T@ %p\\0' \\) && find . -type f -exec"
               " sha256sum -z {} +; } | LC_ALL=C sort -z | tr '\\0' '\\n')";
    };
    const std::string list = _folder.At("facts");
    const Result same =
        Shell(facts(expected) + " > " + list + "; test -s " + list + " && " + facts(found) + " > " +
              list + ".found && diff " + list + " " + list + ".found > " + list +
              ".diff; s=$?; head -20 " + list + ".diff; exit $s");
    EXPECT_EQ(same.status, 0) << same.output;
}

}  // namespace vx
