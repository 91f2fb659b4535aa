// QCOW2 images that qemu-img made: their contents equal the disk that they were made from.
#include "OpenAt.h"
#include "TestImage.h"

namespace vx {
namespace {

constexpr size_t kMiB = size_t{1} << 20;

struct Recipe {
    const char *name;
    const char *options;
    bool isPacked = false;

    friend void PrintTo(const Recipe &recipe, std::ostream *out) { *out << recipe.name; }
};

// Dense, sparse, repetitive and single sectors; its size is no multiple of a cluster.
std::string MixedDisk(size_t bytes)
{
    std::string disk = NoiseBytes(kMiB + 4321, 1);
    for (int line = 0; disk.size() < 5 * kMiB; ++line)
        disk += "line " + std::to_string(line) + " of a text that can be packed well\n";
    disk.resize(bytes);
    for (size_t at = 6 * kMiB; at + kMiB < bytes; at += kMiB + 512)
        disk.replace(at, 512, NoiseBytes(512, static_cast<unsigned>(at)));
    disk.replace(bytes - 700, 700, NoiseBytes(700, 7));
    return disk;
}

class MadeQcow : public testing::TestWithParam<Recipe> {
protected:
    void SetUp() override { VX_NEEDS("qemu-img"); }

    bool InFolder(const std::string &line) const
    {
        return RunShell("cd " + Quoted(folder.At("")) + " && " + line);
    }

    void ExpectDisk(const std::string &name, const std::string &disk, size_t notes = 0) const
    {
        Container container;
        const Error error = OpenAt(folder.At(name), &container);
        ASSERT_EQ(error.status, Status::kOk) << error.detail;
        ASSERT_EQ(container.source->Size(), disk.size());
        std::string bytes(disk.size(), '?');
        ASSERT_FALSE(container.source->ReadAt(0, bytes.data(), bytes.size()));
        EXPECT_TRUE(bytes == disk);
        for (size_t at = 0; at + 70000 < disk.size(); at += 99991) {
            ASSERT_FALSE(container.source->ReadAt(at, bytes.data(), 70000));
            ASSERT_TRUE(bytes.compare(0, 70000, disk, at, 70000) == 0) << at;
        }
        EXPECT_EQ(container.notes.size(), notes);
    }

    const TemporaryFolder folder{};
};

TEST_P(MadeQcow, ReadsAsItsDisk)
{
    const Recipe &recipe = GetParam();
    for (const size_t bytes : {10 * kMiB, 10 * kMiB + 512 * 3}) {
        const std::string disk = MixedDisk(bytes);
        folder.WriteFile("raw", disk);
        ASSERT_TRUE(InFolder("qemu-img convert -f raw -O qcow2 " +
                             std::string(recipe.isPacked ? "-c " : "") + "-o " + recipe.options +
                             " raw x.qcow2"));
        ExpectDisk("x.qcow2", disk);
    }
}

// Three images above each other, each with changes of its own, of which some are zeros.
TEST_P(MadeQcow, AChainOfThreeReadsAsItsDisk)
{
    VX_NEEDS("qemu-io");
    const std::string options = GetParam().options;
    folder.WriteFile("raw", MixedDisk(10 * kMiB));
    ASSERT_TRUE(InFolder(
        "qemu-img create -q -f qcow2 -b raw -F raw -o " + options +
        " one.qcow2 && qemu-img create -q -f qcow2 -b one.qcow2 -F qcow2 -o " + options +
        " two.qcow2 && qemu-img create -q -f qcow2 -b two.qcow2 -F qcow2 -o " + options +
        " three.qcow2 12M && qemu-io -c 'write -P 1 0 3000k' -c 'write -z 5M 700k' one.qcow2 && "
        "qemu-io -c 'write -P 2 100k 1k' -c 'write -P 3 5M 1M' two.qcow2 && "
        "qemu-io -c 'write -z 200k 64k' -c 'write -P 4 9M 2M' three.qcow2 && "
        "qemu-img convert -O raw three.qcow2 expected"));
    // Two is shorter.
    ExpectDisk("three.qcow2", folder.ReadFile("expected"), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Containers, MadeQcow,
    testing::Values(Recipe{"Version2", "compat=0.10"}, Recipe{"Version3", "compat=1.1"},
                    Recipe{"SmallestClusters", "cluster_size=512"},
                    Recipe{"LargestClusters", "cluster_size=2M"},
                    Recipe{"Subclusters", "extended_l2=on"},
                    Recipe{"LargeSubclusters", "extended_l2=on,cluster_size=2M"},
                    Recipe{"SmallRefcounts", "refcount_bits=1"},
                    Recipe{"LazyRefcounts", "lazy_refcounts=on"}),
    [](const auto &tested) { return std::string(tested.param.name); });

class PackedQcow : public MadeQcow {};

TEST_P(PackedQcow, ReadsAsItsDisk)
{
    const std::string disk = MixedDisk(10 * kMiB + 1024);
    folder.WriteFile("raw", disk);
    ASSERT_TRUE(InFolder("qemu-img convert -f raw -O qcow2 " +
                         std::string(GetParam().isPacked ? "-c -o " : "-o ") + GetParam().options +
                         " raw x.qcow2"));
    ExpectDisk("x.qcow2", disk);
}

INSTANTIATE_TEST_SUITE_P(
    Containers, PackedQcow,
    testing::Values(Recipe{"Preallocated", "preallocation=metadata"},
                    Recipe{"Version2", "compat=0.10", true}, Recipe{"Zlib", "compat=1.1", true},
                    Recipe{"SmallestClusters", "cluster_size=512", true},
                    Recipe{"LargestClusters", "cluster_size=2M", true},
                    Recipe{"Subclusters", "extended_l2=on", true},
                    Recipe{"Zstd", "compression_type=zstd", true},
                    Recipe{"ZstdInLargestClusters", "compression_type=zstd,cluster_size=2M", true},
                    Recipe{"ExternalData", "data_file=x.data"},
                    Recipe{"RawExternalData", "data_file=x.data,data_file_raw=on"}),
    [](const auto &tested) { return std::string(tested.param.name); });

using OneMadeQcow = MadeQcow;

TEST_P(OneMadeQcow, InternalSnapshotsDoNotMatter)
{
    VX_NEEDS("qemu-io");
    folder.WriteFile("raw", MixedDisk(10 * kMiB));
    ASSERT_TRUE(InFolder("qemu-img convert -f raw -O qcow2 raw x.qcow2 && "
                         "qemu-img snapshot -c before x.qcow2 && "
                         "qemu-io -c 'write -P 7 1M 100k' x.qcow2 && "
                         "qemu-img convert -O raw x.qcow2 expected"));
    ExpectDisk("x.qcow2", folder.ReadFile("expected"));
}

TEST_P(OneMadeQcow, ABackingFileMayBeOfAnyKind)
{
    VX_NEEDS("qemu-io");
    folder.WriteFile("raw", MixedDisk(10 * kMiB));
    const std::pair<std::string, std::string> kinds[] = {
        {"vdi", ""}, {"vmdk", ""}, {"vpc", "-o force_size=on"}, {"vhdx", ""}, {"qcow2", "-c"}};
    for (const auto &[kind, options] : kinds) {
        ASSERT_TRUE(InFolder("qemu-img convert -f raw -O " + kind + " " + options +
                             " raw base && rm -f x.qcow2 expected && qemu-img create -q -f qcow2 "
                             "-b base -F " +
                             kind +
                             " x.qcow2 && qemu-io -c 'write -P 7 1M 100k' x.qcow2 && "
                             "qemu-img convert -O raw x.qcow2 expected"));
        ExpectDisk("x.qcow2", folder.ReadFile("expected"));
    }
}

TEST_P(OneMadeQcow, AnEncryptedOneIsRefusedWithACommandThatDecryptsIt)
{
    const std::string disk = MixedDisk(10 * kMiB);
    folder.WriteFile("raw", disk);
    folder.WriteFile("word", "secret");
    ASSERT_TRUE(InFolder("qemu-img convert --object secret,id=key,file=word -f raw -O qcow2 "
                         "-o encrypt.format=aes,encrypt.key-secret=key "
                         "raw x.qcow2"));
    Container container;
    const Error error = OpenAt(folder.At("x.qcow2"), &container);
    EXPECT_EQ(error.status, Status::kUnsupportedContainer);
    const size_t begin = error.detail.find("qemu-img convert");
    ASSERT_NE(begin, std::string::npos) << error.detail;
    std::string command = error.detail.substr(begin);
    const std::pair<std::string, std::string> words[] = {
        {"PASSWORDFILE", "word"}, {"NEWIMAGE", "new.raw"}, {"IMAGE", "x.qcow2"}};
    for (const auto &[word, value] : words) {
        ASSERT_NE(command.find(word), std::string::npos) << command;
        command.replace(command.find(word), word.size(), value);
    }
    ASSERT_TRUE(InFolder(command));
    EXPECT_TRUE(folder.ReadFile("new.raw") == disk);
}

INSTANTIATE_TEST_SUITE_P(Containers, OneMadeQcow, testing::Values(Recipe{"Made", ""}),
                         [](const auto &tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace vx
