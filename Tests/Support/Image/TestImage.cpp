#include "TestImage.h"

#include "Container.h"
#include "NameMapping.h"
#include "StatusOfError.h"

#include <random>
#include <unistd.h>

namespace vx {
namespace {

void ReadFolder(IVolume &volume, const std::u16string &folder, TestTree *tree)
{
    const auto entries = ListFolder(volume, folder + u"/*");
    ASSERT_TRUE(entries) << Utf8(folder);
    if (entries->empty() && !folder.empty())
        tree->emplace(Utf8(folder.substr(1)) + "/", "");
    for (const VolumeFindData &entry : *entries) {
        const std::u16string path = folder + u"/" + entry.name;
        if ((entry.attributes & kVolumeAttributeDirectory) != 0) {
            ReadFolder(volume, path, tree);
            continue;
        }
        const auto contents = ReadWholeFile(volume, path);
        ASSERT_TRUE(contents) << Utf8(path);
        EXPECT_EQ(contents->size(), SizeOf(entry)) << Utf8(path);
        tree->emplace(Utf8(path.substr(1)), *contents);
    }
}

}  // namespace

TestTree SampleTree()
{
    return {
        {"empty.bin", ""},
        {"one", "1"},
        {"below a sector", NoiseBytes(511, 1)},
        {"a cluster", NoiseBytes(4096, 2)},
        {"above a cluster", NoiseBytes(4097, 3)},
        {"large.bin", NoiseBytes(3000000, 4)},
        {"Отчёт/за год.txt", "отчёт"},
        {"日本語/写真 テスト.bin", NoiseBytes(12345, 5)},
        {"Ünïcödé/é", "composed"},
        {"deep/er/and/deeper/still/leaf", "leaf"},
        {"a name that is far longer than the eight letters of old " + std::string(120, 'x'),
         "long"},
    };
}

std::string NoiseBytes(size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(count, 0);
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

bool TestImage::MakeEmpty(int mebibytes) const
{
    _folder.MakeSparseFile("image", static_cast<long long>(mebibytes) << 20);
    return true;
}

bool TestImage::MakeFat(int mebibytes, const std::string &options) const
{
    return MakeEmpty(mebibytes) && RunShell("mkfs.fat " + options + " " + Quoted(Path()));
}

bool TestImage::MakeNtfs(int mebibytes, const std::string &options) const
{
    return MakeEmpty(mebibytes) && RunShell("mkntfs -F -q " + options + " " + Quoted(Path()));
}

bool TestImage::MakeExfat(int mebibytes) const
{
    return MakeEmpty(mebibytes) && RunShell("mkfs.exfat " + Quoted(Path()));
}

bool TestImage::WriteTree(const TestTree &tree, const std::string &under) const
{
    for (const auto &[path, contents] : tree)
        _folder.WriteFile(under + "/" + path, contents);
    return true;
}

bool TestImage::FillFat(const TestTree &tree) const
{
    return WriteTree(tree, "tree") &&
           RunShell("cd " + Quoted(At("tree")) +
                    " && LC_ALL=C.UTF-8 MTOOLS_SKIP_CHECK=1 mcopy -s -i ../image * ::");
}

bool TestImage::FillNtfs(const TestTree &tree) const
{
    if (!WriteTree(tree, "tree"))
        return false;
    return RunInNtfs("cp -R " + Quoted(At("tree")) + "/. .");
}

bool TestImage::RunInNtfs(const std::string &line) const
{
    const std::string mount = _folder.MakeFolder("mount");
    if (!RunShell("ntfs-3g -o compression,streams_interface=windows " + Quoted(Path()) + " " +
                  Quoted(mount)))
        return false;
    const bool good = RunShell("cd " + Quoted(mount) + " && " + line);
    const std::string unmounting = " -u " + Quoted(mount);
    return RunShell("fusermount3" + unmounting + " || fusermount" + unmounting) && good;
}

bool TestImage::Encrypt(const std::string &options) const
{
    return RunShell(VX_MAKE_VOLUME " " + Quoted(Path()) + " " + Quoted(At("encrypted")) + " " +
                    options + " && mv " + Quoted(At("encrypted")) + " " + Quoted(Path()));
}

bool CanMountNtfs()
{
    return HasProgram("mkntfs") && HasProgram("ntfs-3g") && access("/dev/fuse", R_OK | W_OK) == 0;
}

Opened OpenImage(const std::string &device, const char *kind, const char *secret)
{
    return AsAnswer(OpenVolume({device.c_str(), kind, secret}));
}

Opened AsAnswer(Result<OpenedVolume> opened)
{
    if (!opened)
        return {StatusOfError(opened.Failure()), opened.Failure().detail, nullptr};
    std::string notes;
    for (const std::string &note : opened->notes)
        notes += (notes.empty() ? "" : "\n") + note;
    EXPECT_NE(opened->volume, nullptr);
    return {VolumeLibraryStatus::kSuccess, std::move(notes), std::move(opened->volume)};
}

Opened OpenDiskOf(std::shared_ptr<const ByteSource> source, size_t number, UnlockKind kind,
                  const char *secret)
{
    Container container;
    container.source = std::move(source);
    return AsAnswer(OpenDiskContents(container, {"", number}, {kind, secret}));
}

TestTree ReadTree(IVolume &volume)
{
    TestTree tree;
    ReadFolder(volume, u"", &tree);
    return tree;
}

void ExpectSameTree(const TestTree &found, const TestTree &expected)
{
    for (const auto &[path, contents] : expected) {
        const auto same = found.find(path);
        EXPECT_TRUE(same != found.end()) << "missing: " << path;
        EXPECT_TRUE(same == found.end() || same->second == contents) << "differs: " << path;
    }
    for (const auto &[path, contents] : found)
        EXPECT_EQ(expected.count(path), 1u) << "not expected: " << path;
}

std::u16string Utf16(const std::string &utf8)
{
    std::u16string units(utf8.size() + 1, 0);
    NameToUtf16(utf8.c_str(), units.data(), units.size());
    units.resize(units.find(u'\0'));
    return units;
}

std::string Utf8(const std::u16string &utf16)
{
    std::string bytes;
    EXPECT_TRUE(AppendNameBytes(utf16.data(), utf16.size(), &bytes));
    return bytes;
}

}  // namespace vx
