// The volume itself as a file: --raw.
#include "EncryptedFixture.h"
#include "Eventually.h"
#include "MountedDisk.h"

#include <csignal>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kMiB = size_t{1} << 20;

// Random bytes with the name of a file system, of which nothing else is there.
std::string NoiseVolume(size_t count)
{
    std::mt19937_64 random(1);
    std::string bytes(count, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes.replace(3, 8, "NTFS    ");
}

class Raw : public EncryptedTest {
protected:
    Result Write(const Arguments &more, const ToolRun::Settings &settings = {})
    {
        Arguments arguments = {"--raw", _file, _image};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments, settings);
    }

    std::string Written() const { return _folder.ReadFile("to/raw"); }

    // The names beside the file, the file's own included.
    std::string Names() const
    {
        std::string names;
        for (const auto &file : FilesBelow(_folder.At("to")))
            names += file.first + " ";
        return names;
    }

    const std::string _to = _folder.MakeFolder("to");
    const std::string _file = _folder.At("to/raw");
};

TEST_F(Raw, EveryByteOfAnEncryptedVolumeIsWritten)
{
    _folder.WriteFile("volume/a.bin", NoiseVolume(3 * kMiB + 1));
    MakeImage(8);
    const std::string plain = _folder.ReadFile("image");
    Encrypt("--password correct");
    const Result result = Write({"--unlock", "password", "correct", "--verify"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(Holds(result.output, "Wrote the volume, "));
    EXPECT_TRUE(Holds(result.output, "compared in "));
    const std::string written = Written();
    ASSERT_GE(written.size(), plain.size());
    EXPECT_TRUE(written.substr(0, plain.size()) == plain);
    EXPECT_EQ(written.find_first_not_of('\0', plain.size()), std::string::npos);
    EXPECT_EQ(Names(), "raw ");
}

TEST_F(Raw, ItsHashIsPrintedAndListedAndThatOfTheSystem)
{
    _folder.WriteFile("image", NoiseVolume(5 * kMiB + kSector));
    const std::string list = _folder.At("to/list");
    const Result result = Write({"--manifest", list});
    EXPECT_EQ(result.status, 0) << result.errors;
    Shell("cd '" + _to + "' && sha256sum --check --quiet list && sha256sum raw > sum");
    EXPECT_TRUE(Holds(result.output, "SHA-256: " + _folder.ReadFile("to/sum").substr(0, 64)));
}

TEST_F(Raw, ZerosBecomeHoles)
{
    _folder.WriteFile("image",
                      NoiseVolume(kMiB) + std::string(62 * kMiB, '\0') + NoiseVolume(kMiB));
    EXPECT_EQ(Write({}).status, 0);
    EXPECT_TRUE(Written() == _folder.ReadFile("image"));
    struct stat found;
    ASSERT_EQ(stat(_file.c_str(), &found), 0);
    EXPECT_LE(found.st_blocks * 512, static_cast<int64_t>(3 * kMiB));
}

TEST_F(Raw, WhatCannotBeReadIsZerosAndReported)
{
    const std::string image = NoiseVolume(9 * kMiB);
    _folder.WriteFile("image", image);
    _folder.WriteFile("map", "0x0 ? 1\n0x0 0x500000 +\n0x500000 0x200 -\n0x500200 0x3ffe00 +\n");
    const std::string report = _folder.At("report");
    const Result result = Write({"--map", _folder.At("map"), "--report", report});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Wrote the volume to " + _file + "; it is not whole.\n"));
    EXPECT_TRUE(Holds(result.output, "bytes 5242880 to 5243391 could not be read and are zero"));
    std::string expected = image;
    expected.replace(5 * kMiB, kSector, kSector, '\0');
    EXPECT_TRUE(Written() == expected);
    const std::string text = _folder.ReadFile("report");
    EXPECT_TRUE(Holds(text, "\"offset\": 5242880"));
    EXPECT_TRUE(Holds(text, "\"length\": 512"));
}

TEST_F(Raw, ADamagedCopyReplacesNothing)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    _folder.WriteFile("map", "0x0 ? 1\n0x0 0x80000 +\n0x80000 0x80000 -\n");
    _folder.WriteFile("to/raw", "older");
    const Result result = Write({"--map", _folder.At("map")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Written(), "older");
    EXPECT_EQ(Names(), "raw raw (damaged) ");
    EXPECT_TRUE(Holds(result.output, "the copy is beside it: raw (damaged)"));
    EXPECT_TRUE(
        Holds(result.output, "Wrote the volume to " + _file + " (damaged); it is not whole.\n"));
}

TEST_F(Raw, AnOlderFileIsReplaced)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    _folder.WriteFile("to/raw", std::string(2 * kMiB, 'x'));
    EXPECT_EQ(Write({}).status, 0);
    EXPECT_TRUE(Written() == _folder.ReadFile("image"));
}

TEST_F(Raw, CtrlCLeavesNoFile)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    Shell("truncate -s 64G '" + _image + "'");
    ToolRun run(kTool, {"--raw", _file, "--no-space-check", _image});
    run.AwaitText("Writing the volume");
    ASSERT_TRUE(Eventually([this] { return !Names().empty(); }));
    run.Send(SIGINT);
    EXPECT_EQ(run.Wait(), 128 + SIGINT);
    EXPECT_EQ(Names(), "");
    EXPECT_TRUE(Holds(run.Output(), "Not kept, since it is incomplete: /volume.img"));
}

TEST_F(Raw, WhatAKilledRunHasLeftIsDeletedByTheNextOne)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    Shell("truncate -s 64G '" + _image + "'");
    ToolRun run(kTool, {"--raw", _file, "--no-space-check", _image});
    run.AwaitText("Writing the volume");
    ASSERT_TRUE(Eventually([this] { return Names() == ".raw.partial "; }));
    run.Send(SIGKILL);
    run.Wait();
    ASSERT_EQ(Names(), ".raw.partial ");
    _folder.WriteFile("to/.raw.2.partial", "left");
    _folder.WriteFile("to/.other.partial", "of another file");
    Shell("truncate -s 1M '" + _image + "'");
    EXPECT_EQ(Write({}).status, 0);
    EXPECT_EQ(Names(), ".other.partial raw ");
    EXPECT_TRUE(Written() == _folder.ReadFile("image"));
}

// On a stick with room for one the next run would fail.
TEST_F(Raw, WhatAKilledRunHasLeftIsDeletedBeforeTheRoomIsCounted)
{
    const MountedDisk disk(DiskKind::kNtfs, 40);
    VX_NEEDS_DISK(disk);
    _folder.WriteFile("image", NoiseVolume(20 * kMiB));
    const std::string leftover = disk.Path() + "/.raw.partial";
    Shell("head -c 20M /dev/urandom > '" + leftover + "'");
    const Result result = Run({"--raw", disk.Path() + "/raw", _image});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(access(leftover.c_str(), F_OK), 0);
}

TEST_F(Raw, WithoutRoomNothingIsWritten)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    Shell("truncate -s 7T '" + _image + "'");
    const Result result = Write({});
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(Holds(result.errors, "nothing was written. With --no-space-check it is tried"));
    EXPECT_EQ(Names(), "");
}

TEST_F(Raw, AFileThatMayNotGrowSoFarIsRemoved)
{
    _folder.WriteFile("image", NoiseVolume(8 * kMiB));
    ToolRun::Settings settings;
    settings.fileSizeLimit = 5 * kMiB;
    const Result result = Write({}, settings);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Names(), "");
    EXPECT_TRUE(Holds(result.output, "/volume.img: "));
    EXPECT_TRUE(Lacks(result.output, "Wrote the volume"));
}

TEST_F(Raw, ADryRunWritesNothing)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    const Result result = Write({"--dry-run"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "Would write the volume, 1.0 MiB (1,048,576 bytes), to " +
                                         _file + "\nWould replace 0 files\n"));
    EXPECT_EQ(Names(), "");
}

TEST_F(Raw, WhatIsReadAndWhatIsNoOrdinaryFileIsRefusedBeforeTheSecretIsAskedFor)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    _folder.WriteFile("map", "0x0 ? 1\n0x0 0x100000 +\n");
    ASSERT_EQ(symlink(_image.c_str(), _folder.At("link").c_str()), 0);
    ASSERT_EQ(link(_image.c_str(), _folder.At("other-name").c_str()), 0);
    ASSERT_EQ(mkfifo(_folder.At("fifo").c_str(), 0600), 0);
    ASSERT_EQ(link(_folder.At("map").c_str(), _folder.At("map-too").c_str()), 0);
    const std::string before = _folder.ReadFile("image");
    for (const std::string &file :
         {_image, _folder.At("map-too"), _folder.At("link"), _folder.At("other-name"),
          _folder.At("fifo"), _to, std::string("/dev/full"), _folder.At("none/raw")}) {
        const Result result =
            Run({"--raw", file, _image, "--map", _folder.At("map"), "--unlock", "password", "-"});
        EXPECT_EQ(result.status, 2) << file;
        EXPECT_TRUE(Holds(result.errors, "cannot write the file of --raw, ")) << file;
    }
    EXPECT_TRUE(_folder.ReadFile("image") == before);
}

TEST_F(Raw, AnImageIsNotReplacedWhicheverVolumeOfItIsChosen)
{
    _folder.WriteFile("image", NoiseVolume(kMiB));
    const std::string before = _folder.ReadFile("image");
    for (const char *choice : {"#1", "@0", "@0x200"}) {
        const Result result = Run({"--raw", _image, _image + choice});
        EXPECT_EQ(result.status, 2) << choice;
        EXPECT_TRUE(Holds(result.errors, "this export reads it")) << choice;
    }
    EXPECT_TRUE(_folder.ReadFile("image") == before);
}

TEST_F(Raw, AKeyThatIsReadIsNotReplaced)
{
    _folder.WriteFile("volume/a", "a");
    MakeImage(8);
    const std::string key = _folder.At("to/raw");
    Encrypt("--password other --startup-key '" + key + "'");
    const std::string bytes = Written();
    EXPECT_EQ(Write({"--unlock", "startup-key", key}).status, 2);
    const std::string file = _folder.WriteFile("file", key + "\n");
    EXPECT_EQ(Write({"--unlock", "startup-key", "@" + file}).status, 2);
    EXPECT_EQ(Write({"--unlock", "key-ring", _to}).status, 2);
    EXPECT_EQ(Write({"--unlock", "key-ring", _folder.Path()}).status, 2);
    EXPECT_TRUE(Written() == bytes);
}

TEST_F(Raw, AFolderHasNoImage)
{
    const Result result = Run({"--raw", _file, _volume});
    EXPECT_EQ(result.status, 3);
    EXPECT_TRUE(Holds(result.errors, "it is a folder, of which there is no image"));
}

TEST_F(Raw, ALibraryThatCannotDoItIsNamed)
{
    const Result result = RunWith(kStandIn, {"--raw", _file, "small"});
    EXPECT_EQ(result.status, 3);
    EXPECT_TRUE(Holds(result.errors, "the volume library is another version"));
}

// Its name is known only when the volume is open; when that fails, not at all.
TEST_F(Raw, TheParentOfAnImageIsNotReplacedByWhatDescribesTheExport)
{
    if (system("qemu-img --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "qemu-img is missing";
    _folder.WriteFile("volume/a.txt", "contents");
    MakeImage(16);
    const std::string parent = _folder.ReadFile("image");
    Shell("cd '" + _folder.Path() + "' && qemu-img create -q -f qcow2 -b image -F raw child");
    Shell("cd '" + _folder.Path() +
          "' && qemu-img create -q -f qcow2 -o data_file=data,data_file_raw=on keeper 16M && "
          "cp --sparse=always image data");
    const std::pair<const char *, const char *> kCases[] = {{"child", "image"}, {"keeper", "data"}};
    for (const auto &[volume, file] : kCases) {
        for (const char *option : {"--manifest", "--report", "--raw"}) {
            Arguments arguments = {_folder.At(volume), option, _folder.At(file)};
            if (std::string(option) != "--raw")
                arguments.insert(arguments.end(), {"--raw", _file});
            const Result result = Run(arguments);
            EXPECT_EQ(result.status, 2) << result.output << result.errors;
            EXPECT_TRUE(Holds(result.errors, "this export reads it")) << result.errors;
            EXPECT_EQ(FilesBelow(_to).size(), 0u);
            EXPECT_TRUE(_folder.ReadFile(file) == parent) << volume << option;
        }
    }
    const Result failed = Run({_folder.At("child") + "#7", "--raw", _file, "--report", _image});
    EXPECT_EQ(failed.status, 3);
    EXPECT_TRUE(Holds(failed.errors, "a file that is no report is there")) << failed.errors;
    EXPECT_TRUE(_folder.ReadFile("image") == parent);
}

TEST_F(Raw, AnImageOfAVirtualMachineBecomesTheDiskItWasMadeOf)
{
    if (system("qemu-img --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "qemu-img is missing";
    _folder.WriteFile("volume/a.bin", NoiseVolume(3 * kMiB + 1));
    MakeImage(16);
    for (const char *options : {"-O vmdk", "-O vmdk -o subformat=streamOptimized", "-O vpc"}) {
        const std::string made = _folder.At("made");
        Shell(std::string("qemu-img convert ") + options + " '" + _image + "' '" + made + "'");
        EXPECT_EQ(Run({"--raw", _file, made}).status, 0) << options;
        Shell("qemu-img convert -O raw '" + made + "' '" + _folder.At("expected") + "'");
        EXPECT_TRUE(Written() == _folder.ReadFile("expected")) << options;
    }
}

}  // namespace
}  // namespace vx
