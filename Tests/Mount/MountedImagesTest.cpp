// Images of every file system here, mounted: what other programs find there is what volume-export
// brings.
#include "FileSystemImage.h"
#include "MountFixture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "UniqueFd.h"

namespace vx {
namespace {

constexpr char kByPassword[] = " --unlock password secret ";

class MountedImage : public MountTest {
protected:
    // The tree as it is mounted, and as it was exported.
    void ExpectSameAsExport(const std::string &image, const std::string &unlocking)
    {
        const std::string copy = _folder.At("copy");
        ASSERT_EQ(Shell(VX_TOOL " " + Quoted(image) + unlocking + "--to " + Quoted(copy)).status,
                  0);
        const std::string mounted =
            Mount(unlocking.size() > 1 ? Arguments{image, "--unlock", "password", "secret"}
                                       : Arguments{image});
        ASSERT_FALSE(mounted.empty());
        ExpectSameFacts(mounted, copy);
        // What cp makes of it, times and all.
        const Result copied = Shell("cp -a " + Quoted(mounted) + " " + Quoted(_folder.At("again")));
        EXPECT_EQ(copied.status, 0) << copied.output;
        ExpectSameFacts(_folder.At("again"), copy);
        Unmount(mounted);
    }
};

class MountedKind : public MountedImage, public testing::WithParamInterface<FileSystemImage::Kind> {
protected:
    void SetUp() override
    {
        MountedImage::SetUp();
        if (!IsSkipped() && !FileSystemImage::CanMake(GetParam()))
            GTEST_SKIP() << "a program that makes such an image is missing";
    }
};

TEST_P(MountedKind, HasTheFilesOfTheExport)
{
    const FileSystemImage made(GetParam(), false);
    ExpectSameAsExport(made.Image().Path(), " ");
}

TEST_P(MountedKind, HasTheFilesOfTheExportIfItIsEncrypted)
{
    const FileSystemImage made(GetParam(), false);
    ASSERT_TRUE(made.Image().Encrypt("--password secret"));
    ExpectSameAsExport(made.Image().Path(), kByPassword);
}

std::string ReadDirectly(const std::string &path)
{
    constexpr size_t kPiece = 3 << 20;
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_DIRECT | O_CLOEXEC));
    const std::unique_ptr<void, decltype(&free)> piece(aligned_alloc(4096, kPiece), free);
    std::string bytes;
    for (ssize_t got = 1; file && got > 0;) {
        got = pread(file.Get(), piece.get(), kPiece, static_cast<off_t>(bytes.size()));
        bytes.append(static_cast<char *>(piece.get()),
                     static_cast<size_t>(std::max<ssize_t>(got, 0)));
    }
    return bytes;
}

std::string MappedBackwards(const std::string &path)
{
    constexpr size_t kPage = 4096;
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat found = {};
    if (!file || fstat(file.Get(), &found) != 0)
        return "";
    const auto size = static_cast<size_t>(found.st_size);
    void *mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED, file.Get(), 0);
    if (mapped == MAP_FAILED)
        return "";
    std::string bytes(size, '\0');
    for (size_t end = size; end > 0;) {
        const size_t begin = (end - 1) / kPage * kPage;
        memcpy(&bytes[begin], static_cast<char *>(mapped) + begin, end - begin);
        end = begin;
    }
    munmap(mapped, size);
    return bytes;
}

std::string KindName(const testing::TestParamInfo<FileSystemImage::Kind> &info)
{
    static const char *const kNames[] = {"Ntfs", "Fat16", "Fat32", "Exfat"};
    return kNames[static_cast<size_t>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Every, MountedKind,
                         testing::Values(FileSystemImage::Kind::kNtfs,
                                         FileSystemImage::Kind::kFat16,
                                         FileSystemImage::Kind::kFat32,
                                         FileSystemImage::Kind::kExfat),
                         KindName);

class MountedNtfs : public MountedImage {
protected:
    void SetUp() override
    {
        MountedImage::SetUp();
        if (!IsSkipped() && !CanMountNtfs())
            GTEST_SKIP() << "mkntfs or ntfs-3g is missing";
    }
    const TestImage _image{};
};

TEST_F(MountedNtfs, ShowsDeepFoldersAndManyEntries)
{
    ASSERT_TRUE(_image.MakeNtfs(128));
    ASSERT_TRUE(_image.RunInNtfs("mkdir many; (cd many; seq -f 'file number %g' 20000 | "
                                 "tr '\\n' '\\0' | xargs -0 touch -d 2011-02-03T04:05:06.7Z); "
                                 "p=deep; for i in $(seq 60); do p=$p/folder$i; done; "
                                 "mkdir -p $p; echo bottom > $p/file"));
    ExpectSameAsExport(_image.Path(), " ");
}

TEST_F(MountedNtfs, ShowsOddNamesAndTimes)
{
    ASSERT_TRUE(_image.MakeNtfs(32));
    ASSERT_TRUE(_image.RunInNtfs("mkdir 'a b'; echo x > 'a b/\xE6\x97\xA5\xE6\x9C\xAC.txt'; "
                                 "echo y > 'quote \"'; echo z > \"it's\"; touch ' blank '; "
                                 "printf 1234567 > $(printf 'line\\nend'); : > empty; "
                                 "touch -d 1950-01-01T00:00:00.1234567Z old; "
                                 "touch -d 2400-12-31T23:59:59.9999999Z late"));
    ExpectSameAsExport(_image.Path(), " ");
}

TEST_F(MountedNtfs, ShowsTimesToTheStepOfTheVolume)
{
    ASSERT_TRUE(_image.MakeNtfs(32));
    ASSERT_TRUE(_image.RunInNtfs("mkdir d; touch -d 1650-01-01T00:00:00.1234567Z d/a; "
                                 "touch -a -d 2001-02-03T04:05:06.7654321Z d/a; "
                                 "touch -d 2011-02-03T04:05:06.1234567Z d"));
    const std::string mounted = Mount({_image.Path()});
    const std::string times = "; TZ=UTC stat -c '%y %x' d/a; TZ=UTC stat -c %y d";
    EXPECT_EQ(Shell("cd " + Quoted(mounted) + times).output,
              "1650-01-01 00:00:00.123456700 +0000 2001-02-03 04:05:06.765432100 +0000\n"
              "2011-02-03 04:05:06.123456700 +0000");
}

// Of the two that hold a backslash the export makes a folder.
TEST_F(MountedNtfs, ShowsTheNamesOfTheExport)
{
    const FileSystemImage made(FileSystemImage::Kind::kNtfs, true);
    const std::string mounted = Mount({made.Image().Path()});
    const std::string copy = _folder.At("copy");
    EXPECT_LE(Shell(VX_TOOL " " + Quoted(made.Image().Path()) + " --to " + Quoted(copy)).status, 1);
    const std::string names = " && find . -type f ! -name '*\\\\*' | grep -v back/ | LC_ALL=C sort";
    const Result exported = Shell("cd " + Quoted(copy) + names);
    EXPECT_GT(std::count(exported.output.begin(), exported.output.end(), '\n'), 3);
    EXPECT_EQ(Shell("cd " + Quoted(mounted) + names).output, exported.output);
    EXPECT_NE(Shell("cd " + Quoted(mounted) + " && find . -name '*\\\\*'").output, "");
}

// The kernel reads ahead on several threads; the library must see nothing out of place.
TEST_F(MountedNtfs, GivesALargeFileToManyReadersAtOnce)
{
    ASSERT_TRUE(_image.MakeNtfs(96));
    ASSERT_TRUE(_image.RunInNtfs("head -c 50000001 /dev/urandom > large; sha256sum large"));
    ASSERT_TRUE(_image.Encrypt("--password secret"));
    const std::string copy = _folder.At("copy");
    const std::string image = Quoted(_image.Path());
    ASSERT_EQ(Shell(VX_TOOL " " + image + kByPassword + "--to " + Quoted(copy)).status, 0);
    const std::string mounted = Mount({_image.Path(), "--unlock", "password", "secret"});
    const Result same = Shell(
        "cd " + Quoted(mounted) + "; f=" + Quoted(copy) +
        "/large; cmp large $f & a=$!; tail -c 30000000 large | cmp - -i 0:20000001 $f & b=$!;"
        " dd if=large bs=777777 2>/dev/null | cmp - $f & c=$!; wait $a && wait $b && wait $c");
    EXPECT_EQ(same.status, 0) << same.output;
}

// Past the page cache, and by its pages, in an order that no read-ahead foresees.
TEST_F(MountedNtfs, GivesTheSameBytesToDirectReadsAndToMappings)
{
    ASSERT_TRUE(_image.MakeNtfs(64));
    ASSERT_TRUE(
        _image.RunInNtfs("head -c 20000001 /dev/urandom > large; head -c 5001 large > small"));
    ASSERT_TRUE(_image.Encrypt("--password secret"));
    ASSERT_EQ(Shell(VX_TOOL " " + Quoted(_image.Path()) + kByPassword + "--to " +
                    Quoted(_folder.At("copy")))
                  .status,
              0);
    const std::string mounted = Mount({_image.Path(), "--unlock", "password", "secret"});
    for (const char *name : {"large", "small"}) {
        const std::string expected = _folder.ReadFile(std::string("copy/") + name);
        ASSERT_GT(expected.size(), 5000U);
        EXPECT_TRUE(ReadDirectly(mounted + "/" + name) == expected) << name;
        EXPECT_TRUE(MappedBackwards(mounted + "/" + name) == expected) << name;
        EXPECT_TRUE(ReadDirectly(mounted + "/" + name) == expected) << name;
    }
}

}  // namespace
}  // namespace vx
