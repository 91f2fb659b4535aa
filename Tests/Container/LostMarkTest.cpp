// Images whose mark is damaged are recognised by what is around it, and disks are never taken for
// images.
#include "LostMark.h"
#include "FailingSource.h"
#include "OpenAt.h"
#include "OpenSource.h"
#include "TestImage.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

struct Made {
    const char *options;  // of qemu-img
    const char *format;
    int64_t markAt;  // from the end if it is negative
    size_t markBytes;
};

constexpr Made kMade[] = {
    {"vmdk -o subformat=monolithicSparse", "VMDK", 0, 4},
    {"vmdk -o subformat=streamOptimized", "VMDK", 0, 4},
    {"qcow2", "QCOW2", 0, 4},
    {"qcow2 -o compat=0.10", "QCOW2", 0, 4},
    {"vdi", "VDI", 64, 4},
    {"vdi -o static=on", "VDI", 64, 4},
    {"vpc -o subformat=fixed,force_size=on", "VHD", -512, 8},
    {"vpc -o subformat=dynamic,force_size=on", "VHD", -512, 8},
};

std::string NoteOf(const Made &made)
{
    return "the signature of the " + std::string(made.format) +
           " image is damaged; it is recognised by the rest of it";
}

class LostMarks : public testing::Test {
protected:
    static constexpr size_t kDiskBytes = size_t{1} << 20;

    // The disk of no image begins like a boot sector, but for a fixed VHD image it may.
    void SetUp() override { VX_NEEDS("qemu-img"); }

    std::string Converted(const Made &made) const
    {
        const std::string raw = folder.WriteFile("disk", disk);
        const std::string path = folder.Path() + "/image";
        EXPECT_TRUE(RunShell("qemu-img convert -f raw -O " + std::string(made.options) + " " +
                             Quoted(raw) + " " + Quoted(path)));
        return folder.ReadFile("image");
    }

    static size_t MarkAt(const Made &made, const std::string &image)
    {
        return static_cast<size_t>(
            made.markAt < 0 ? static_cast<int64_t>(image.size()) + made.markAt : made.markAt);
    }

    void ExpectTheDisk(const std::string &image, const std::string &note) const
    {
        Container container;
        const Error error = OpenAt(folder.WriteFile("damaged", image), &container);
        ASSERT_EQ(error.status, Status::kOk) << error.detail;
        EXPECT_EQ(container.notes, std::vector<std::string>{note});
        std::string read(disk.size(), '?');
        ASSERT_EQ(container.source->Size(), disk.size()) << note;
        EXPECT_FALSE(container.source->ReadAt(0, read.data(), read.size()));
        EXPECT_TRUE(read == disk) << note;
    }

    const TemporaryFolder folder{};
    std::string disk = NoiseBytes(kDiskBytes, 1);
};

TEST_F(LostMarks, NoFlippedBitOfAMarkMakesAnImageARawOne)
{
    for (const Made &made : kMade) {
        const std::string image = Converted(made);
        for (size_t bit = 0; bit < made.markBytes * 8; bit += 5) {
            std::string damaged = image;
            char &byte = damaged[MarkAt(made, image) + bit / 8];
            byte = static_cast<char>(byte ^ 1 << bit % 8);
            ExpectTheDisk(damaged, NoteOf(made));
        }
    }
}

TEST_F(LostMarks, AMarkOfZerosIsFoundToo)
{
    for (const Made &made : kMade) {
        std::string image = Converted(made);
        image.replace(MarkAt(made, image), made.markBytes, made.markBytes, '\0');
        ExpectTheDisk(image, NoteOf(made));
    }
}

TEST_F(LostMarks, AFixedVhdOfADiskWithABootSectorIsFoundByItsFooter)
{
    disk.replace(510, 2, "\x55\xAA");
    const Made &made = kMade[6];
    std::string image = Converted(made);
    image[image.size() - 510] ^= 4;
    ExpectTheDisk(image, NoteOf(made));
}

TEST_F(LostMarks, AHeaderThatIsDamagedBesideItsMarkIsNoSign)
{
    // A bit of the version, the check of the ends of lines, a place of a table, a checksum.
    constexpr std::pair<size_t, int64_t> kElsewhere[] = {{0, 6},  {0, 75}, {2, 5},   {2, 47},
                                                         {4, 70}, {4, 77}, {6, -400}};
    for (const auto &[number, place] : kElsewhere) {
        const Made &made = kMade[number];
        std::string image = Converted(made);
        image[MarkAt(made, image)] ^= 1;
        const int64_t at = place < 0 ? static_cast<int64_t>(image.size()) + place : place;
        image[static_cast<size_t>(at)] ^= 0x40;
        const auto file = SourceOf(image);
        const std::string head = image.substr(0, 512);
        EXPECT_FALSE(
            FindLostMark(*file, {reinterpret_cast<const uint8_t *>(head.data()), head.size()}))
            << made.options << " " << place;
    }
}

TEST_F(LostMarks, ABootSectorIsADiskEvenIfTheRestOfItLooksLikeAnImage)
{
    for (const Made &made : kMade) {
        if (made.markAt < 0)
            continue;
        std::string image = Converted(made);
        image[MarkAt(made, image)] ^= 1;
        image.replace(510, 2, "\x55\xAA");
        Container container;
        ASSERT_FALSE(OpenAt(folder.WriteFile("damaged", image), &container)) << made.options;
        EXPECT_STREQ(container.kind, "raw") << made.options;
        EXPECT_EQ(container.source->Size(), image.size()) << made.options;
        EXPECT_TRUE(container.notes.empty()) << made.options;
    }
}

TEST_F(LostMarks, WhatIsDamagedBesidesIsReported)
{
    std::string image = Converted(kMade[4]);
    image[64] ^= 1;
    image.resize(image.size() - 1000);
    Container container;
    ASSERT_FALSE(OpenAt(folder.WriteFile("damaged", image), &container));
    ASSERT_EQ(container.notes.size(), 2u);
    EXPECT_EQ(container.notes[0], NoteOf(kMade[4]));
    EXPECT_EQ(container.notes[1],
              "the VDI image ends early; 1000 bytes of the disk cannot be read");
}

TEST_F(LostMarks, TheTextOfAVmdkIsRecognisedByItsLines)
{
    Converted({"vmdk -o subformat=monolithicFlat", "VMDK", 0, 4});
    std::string text = folder.ReadFile("image");
    text[3] ^= 1;
    Container container;
    const Error error = OpenAt(folder.WriteFile("image", text), &container);
    ASSERT_EQ(error.status, Status::kOk) << error.detail;
    EXPECT_EQ(container.description, "a flat VMDK image");
    EXPECT_EQ(container.source->Size(), disk.size());
}

TEST_F(LostMarks, AnE01IsRecognisedByItsFirstSection)
{
    VX_NEEDS("ewfacquirestream");
    folder.WriteFile("disk", disk);
    ASSERT_TRUE(RunShell("cd " + Quoted(folder.Path()) + " && ewfacquirestream -q -t e < disk"));
    std::string image = folder.ReadFile("e.E01");
    image[1] ^= 1;
    ExpectTheDisk(image, NoteOf({"", "E01", 0, 8}));
}

TEST(LostMarkOfADisk, MarkedSourcePutsTheMarkIntoEveryRead)
{
    const MarkedSource source(SourceOf("0123456789"), {ContainerKind::kVhd, 3, "abc", "VHD"});
    for (size_t begin = 0; begin <= 10; ++begin) {
        for (size_t count = 0; begin + count <= 10; ++count) {
            std::string read(count, '?');
            EXPECT_FALSE(source.ReadAt(begin, read.data(), count));
            EXPECT_EQ(read, std::string("012abc6789").substr(begin, count));
        }
    }
    char byte = 0;
    EXPECT_TRUE(source.ReadAt(10, &byte, 1));
}

// Whatever its name is.
TEST(LostMarkOfADisk, ARawImageOfAFileSystemIsNoImageWithALostMark)
{
    VX_NEEDS("mkfs.ntfs");
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mkfs.exfat");
    const TemporaryFolder folder;
    for (const char *name : {"a.vmdk", "a.qcow2", "a.vdi", "a.vhd", "a.vhdx", "a.E01"}) {
        for (const char *program :
             {"mkfs.ntfs -Q -q -F", "mkfs.fat", "mkfs.fat -F 32", "mkfs.exfat"}) {
            const std::string path = folder.WriteFile(name, std::string(40 << 20, '\0'));
            ASSERT_TRUE(RunShell(std::string(program) + " " + Quoted(path) + " >/dev/null 2>&1"));
            Container container;
            ASSERT_FALSE(OpenAt(path, &container)) << program;
            EXPECT_STREQ(container.kind, "raw") << name << " " << program;
            EXPECT_TRUE(container.notes.empty()) << name << " " << program;
        }
    }
}

TEST(LostMarkOfADisk, ARawImageOfAnEncryptedVolumeIsNoImageWithALostMark)
{
    const TemporaryFolder folder;
    std::string volume = "\xEB\x58\x90-FVE-FS-" + NoiseBytes(100000, 1);
    volume.replace(510, 2, "\x55\xAA");
    for (const char *name : {"a.vmdk", "a.qcow2", "a.vdi", "a.vhd"}) {
        Container container;
        ASSERT_FALSE(OpenAt(folder.WriteFile(name, volume), &container));
        EXPECT_STREQ(container.kind, "raw");
        EXPECT_TRUE(container.notes.empty()) << name;
    }
}

TEST(LostMarkOfADisk, ANameThatPromisesAnImageWhereNoneIsIsReported)
{
    const TemporaryFolder folder;
    constexpr std::pair<const char *, const char *> kNamed[] = {
        {"a.vmdk", "VMDK"},  {"a.QCOW2", "QCOW2"}, {"a.vdi", "VDI"},
        {"a.vhd", "VHD"},    {"a.vhdx", "VHDX"},   {"a.E01", "E01"},
        {"a-flat.vmdk", ""}, {"vmdk", ""},         {"a.img", ""}};
    for (const auto &[name, format] : kNamed) {
        Container container;
        ASSERT_FALSE(OpenAt(folder.WriteFile(name, NoiseBytes(100000, 1)), &container));
        const std::vector<std::string> notes = {
            "its name is that of a " + std::string(format) +
            " image, but nothing in it shows one; it is read as a raw image"};
        EXPECT_EQ(container.notes, *format != 0 ? notes : std::vector<std::string>{}) << name;
        EXPECT_EQ(container.source->Size(), 100000u);
    }
}

}  // namespace
}  // namespace vx
