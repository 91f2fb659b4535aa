// VMDK images: sound, damaged and hostile; and which files their text can make the library read.
#include "VmdkImage.h"
#include "OpenAt.h"
#include "OpenedImage.h"
#include "SourceWithHole.h"
#include "TestImage.h"
#include "VmdkWriter.h"

#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kGrain = VmdkWriter::kGrain;
constexpr Status kRefused = Status::kUnsupportedContainer;

class VmdkImages : public testing::Test {
protected:
    Error TryOpen(const std::string &image, Container *container) const
    {
        const std::string path = folder.WriteFile("x.vmdk", image);
        return OpenAt(path, container);
    }

    Container Open(const std::string &image) const
    {
        Container container;
        const Error error = TryOpen(image, &container);
        EXPECT_EQ(error.status, Status::kOk) << error.detail;
        return container;
    }

    static std::string Text(const std::string &lines)
    {
        return "# Disk DescriptorFile\nversion=1\nCID=12345678\nparentCID=ffffffff\n"
               "createType=\"monolithicFlat\"\n\n# Extent description\n" +
               lines + "\n\n# The Disk Data Base\n#DDB\n";
    }

    static std::string Extent(const std::string &kind, const std::string &name)
    {
        return "RW 8 " + kind + " \"" + name + "\" 0";
    }

    void ExpectFails(const std::string &image, Status status, const std::string &detail) const
    {
        Container container;
        const Error error = TryOpen(image, &container);
        EXPECT_EQ(error.status, status);
        EXPECT_EQ(error.detail, detail);
    }

    bool InFolder(const std::string &line) const
    {
        return RunShell("cd " + Quoted(folder.At("")) + " && " + line);
    }

    // Two grains with a hole between them.
    static VmdkWriter Growing(bool isPacked = false)
    {
        VmdkWriter writer(isPacked);
        writer.AddGrain(NoiseBytes(kGrain, 1));
        writer.AddNothing();
        writer.AddGrain(NoiseBytes(kGrain, 2));
        return writer;
    }

    const std::string disk =
        NoiseBytes(kGrain, 1) + std::string(kGrain, '\0') + NoiseBytes(kGrain, 2);
    const TemporaryFolder folder{};
};

TEST_F(VmdkImages, OneThatGrowsReadsAsItsDisk)
{
    for (const bool isPacked : {false, true}) {
        const Container container = Open(Growing(isPacked).Image());
        ASSERT_NE(container.source, nullptr);
        ASSERT_EQ(container.source->Size(), disk.size());
        EXPECT_TRUE(Read(container, 0, disk.size()) == disk) << isPacked;
        for (size_t at = 0; at + 700 < disk.size(); at += 100)
            EXPECT_TRUE(Read(container, at, 700) == disk.substr(at, 700)) << at;
    }
}

TEST_F(VmdkImages, APackedGrainThatSaysThatItIsHugeFailsAlone)
{
    const std::string packed = Growing(true).Image().substr(VmdkWriter::kGrainsAt);
    VmdkWriter writer = Growing(true);
    const uint64_t sector = writer.Sectors();
    writer.AddStored(VmdkWriter::Number(sector, 8) + VmdkWriter::Number(0xFFFFFFFF, 4) +
                     packed.substr(12));
    VmdkWriter large(true);
    large.AddGrain(NoiseBytes(100 * kGrain, 3));
    writer.AddStored(VmdkWriter::Number(sector + 8, 8) +
                     large.Image().substr(VmdkWriter::kGrainsAt + 8));
    writer.AddGrain(NoiseBytes(kGrain, 4));
    const Container container = Open(writer.Image());
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    for (const uint64_t at : {disk.size(), disk.size() + kGrain})
        EXPECT_EQ(Read(container, at, 10), "failed: read at " + std::to_string(at) +
                                               ": a packed piece of the VMDK image is damaged");
    EXPECT_TRUE(Read(container, disk.size() + 2 * kGrain, kGrain) == NoiseBytes(kGrain, 4));
}

TEST_F(VmdkImages, APackedGrainOfAnotherPlaceIsNotTaken)
{
    VmdkWriter writer(true);
    writer.AddGrain(NoiseBytes(kGrain, 1));
    std::string image = writer.Image();
    image[VmdkWriter::kGrainsAt] = 8;
    const Container container = Open(image);
    ASSERT_NE(container.source, nullptr);
    EXPECT_EQ(Read(container, 0, 10),
              "failed: read at 0: a packed piece of the VMDK image is damaged");
}

TEST_F(VmdkImages, TablesThatLieOutsideOfTheFileGiveWayToTheirCopy)
{
    std::string image = Growing().Image();
    image.replace(VmdkWriter::kDirectoryAt, 4, VmdkWriter::Number(0x7FFFFFFF, 4));
    const Container container = Open(image);
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0], "the tables of x.vmdk are damaged; their copy is used");
    image.replace(VmdkWriter::kCopyAt, 4, VmdkWriter::Number(0x7FFFFFFF, 4));
    ExpectFails(image, Status::kTruncatedImage, "x.vmdk ends early");
}

TEST_F(VmdkImages, ASnapshotNamesItsParent)
{
    const std::string refusal = "it is a VMDK snapshot; its parent is base.vmdk, and both must be "
                                "merged into one image first";
    const std::string lines = "parentCID=1234abcd\nparentFileNameHint=\"base.vmdk\"\n";
    VmdkWriter writer = Growing();
    writer.SetText(lines);
    ExpectFails(writer.Image(), kRefused, refusal);
    ExpectFails("# Disk DescriptorFile\n" + lines + "RW 8 FLAT \"x\" 0\n", kRefused, refusal);
}

TEST_F(VmdkImages, WhatFollowsTheEndOfTheTextNeedNotBeReadable)
{
    const auto opens = [](const std::string &text, size_t badSector) {
        std::string image = Growing().Image();
        const size_t at = image.size();
        image += text + std::string(4 * 512 - text.size(), '\0');
        image.replace(28, 16, VmdkWriter::Number(at / 512, 8) + VmdkWriter::Number(4, 8));
        const size_t bad = at + badSector * 512;
        const auto file = std::make_shared<SourceWithHole>(image, bad, bad + 512);
        const auto container = OpenVmdk("x.vmdk", file, nullptr);
        return container ? Status::kOk : container.Failure().status;
    };
    const std::string text(700, '\n');
    EXPECT_EQ(opens(text, 2), Status::kOk);
    EXPECT_EQ(opens(text, 1), Status::kSystemError);
    EXPECT_EQ(opens(text + "parentCID=1234abcd\n", 2), kRefused);
}

TEST_F(VmdkImages, ASnapshotThatAnotherProgramMadeIsRefused)
{
    VX_NEEDS("qemu-img");
    ASSERT_TRUE(InFolder("qemu-img create -q -f vmdk base.vmdk 1M && "
                         "qemu-img create -q -f vmdk -b base.vmdk -F vmdk snap.vmdk"));
    Container container;
    const Error error = OpenAt(folder.At("snap.vmdk"), &container);
    EXPECT_EQ(error.status, kRefused);
    EXPECT_NE(error.detail.find("its parent is base.vmdk"), std::string::npos) << error.detail;
}

TEST_F(VmdkImages, ATextJoinsPartsAndPiecesOfFiles)
{
    const std::string flat = NoiseBytes(5 * 512, 7);
    folder.WriteFile("flat", flat);
    folder.WriteFile("grows", Growing().Image());
    const Container container = Open(Text("RW 2 FLAT \"flat\" 3\nRW 4 ZERO\n"
                                          "RDONLY 20 SPARSE \"grows\"\nRW 1 VMFS \"flat\"\n"));
    ASSERT_NE(container.source, nullptr);
    const std::string expected = flat.substr(1536) + std::string(2048, '\0') +
                                 disk.substr(0, 20 * 512) + flat.substr(0, 512);
    ASSERT_EQ(container.source->Size(), expected.size());
    EXPECT_TRUE(Read(container, 0, expected.size()) == expected);
}

TEST_F(VmdkImages, WhatIsNoOrdinaryFileIsRefusedWithoutOpeningIt)
{
    ASSERT_EQ(mkfifo(folder.At("fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink("/dev/zero", folder.At("device").c_str()), 0);
    folder.WriteFile("file", std::string(4096, 'x'));
    ASSERT_EQ(symlink("file", folder.At("link").c_str()), 0);
    ASSERT_EQ(mkdir(folder.At("folder").c_str(), 0700), 0);
    for (const std::string name : {"fifo", "device", "link", "folder"}) {
        const std::string refusal =
            "its part " + name + " is a link or no ordinary file, and is not read";
        ExpectFails(Text(Extent("FLAT", name)), kRefused, refusal);
        ExpectFails(Text(Extent("SPARSE", name)), kRefused, refusal);
    }
}

TEST_F(VmdkImages, WhatLiesElsewhereIsRefused)
{
    folder.WriteFile("file", std::string(4096, 'x'));
    for (const std::string &name :
         {std::string("/dev/zero"), std::string("/etc/passwd"), std::string("../file"),
          folder.At("file"), std::string(".."), std::string("\\\\.\\PhysicalDrive0")})
        ExpectFails(Text(Extent("FLAT", name)), kRefused,
                    "its part " + name +
                        " lies elsewhere, and only files beside the image are read");
}

TEST_F(VmdkImages, PartsOfOtherKindsAreRefused)
{
    ExpectFails(Text("RW 8 VMFSSPARSE \"x\""), kRefused,
                "it is a VMDK image with a part of the kind VMFSSPARSE");
    ExpectFails(Text("NOACCESS 8 FLAT \"x\" 0"), kRefused,
                "it is a VMDK image with a part that may not be read (NOACCESS)");
}

TEST_F(VmdkImages, ATextThatMakesNoSenseIsDamage)
{
    folder.WriteFile("grows", Growing().Image());
    const std::string damaged = "the text of the VMDK image is damaged";
    for (const char *lines :
         {"RW", "RW x FLAT \"a\"", "RW 8 FLAT", "RW 8 FLAT \"", "RW 8 FLAT \"\"",
          "RW 99999999999999999999 FLAT \"a\"", "RW 9999999999999999 FLAT \"a\"",
          "RW 1125899906842624 ZERO\nRW 1 ZERO"})
        ExpectFails(Text(lines), Status::kDamagedContainer, damaged);
    std::string many;
    for (int line = 0; line < 5000; ++line)
        many += "RW 1 ZERO\n";
    ExpectFails(Text(many), Status::kDamagedContainer, damaged);
    const std::string image =
        "the VMDK image is damaged, or one of its parts is missing or cannot be read";
    ExpectFails(Text(""), Status::kDamagedContainer, image);
    ExpectFails(Text("RW 25 SPARSE \"grows\""), Status::kDamagedContainer, image);
    ExpectFails(Text("RW 8 SPARSE \"grows\"\nRW 8 SPARSE \"grows\""), kRefused,
                "its part grows is named twice");
}

TEST_F(VmdkImages, AHeaderThatMakesNoSenseIsDamage)
{
    const std::string image = Growing(true).Image();
    const std::pair<size_t, std::string> changes[] = {
        {12, VmdkWriter::Number(uint64_t{1} << 60, 8)},  // capacity
        {20, VmdkWriter::Number(3, 8)},                  // grain
        {20, VmdkWriter::Number(1 << 13, 8)},            // too large to be packed
        {44, VmdkWriter::Number(0, 4)},                  // entries
        {56, VmdkWriter::Number(uint64_t{1} << 60, 8)},  // directory
    };
    for (const auto &[at, value] : changes) {
        std::string damaged = image;
        damaged.replace(at, value.size(), value);
        ExpectFails(damaged, Status::kDamagedContainer,
                    "the VMDK image is damaged, or one of its parts is missing or cannot be read");
    }
}

TEST_F(VmdkImages, ThreadsReadWhatIsThere)
{
    const Container container = Open(Growing(true).Image());
    ASSERT_NE(container.source, nullptr);
    std::vector<std::thread> threads;
    for (size_t number = 0; number < 4; ++number) {
        threads.emplace_back([&, number] {
            for (size_t at = number * 100; at + 5000 < disk.size(); at += 37)
                EXPECT_TRUE(Read(container, at, 5000) == disk.substr(at, 5000));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

TEST_F(VmdkImages, OnesThatAnotherProgramWroteReadAsTheirDisk)
{
    VX_NEEDS("qemu-img");
    std::string raw = NoiseBytes(3000000, 3);
    raw.resize(12 << 20);
    raw.replace(9 << 20, 100000, NoiseBytes(100000, 4));
    folder.WriteFile("raw", raw);
    for (const char *kind : {"monolithicSparse", "monolithicFlat", "twoGbMaxExtentSparse",
                             "twoGbMaxExtentFlat", "streamOptimized"}) {
        ASSERT_TRUE(InFolder(std::string("qemu-img convert -f raw -O vmdk -o subformat=") + kind +
                             " raw y.vmdk"));
        Container container;
        const Error error = OpenAt(folder.At("y.vmdk"), &container);
        ASSERT_EQ(error.status, Status::kOk) << kind << ": " << error.detail;
        ASSERT_EQ(container.source->Size(), raw.size()) << kind;
        EXPECT_TRUE(Read(container, 0, raw.size()) == raw) << kind;
        EXPECT_TRUE(Read(container, 9 << 20, 5000) == raw.substr(9 << 20, 5000)) << kind;
    }
}

}  // namespace
}  // namespace vx
