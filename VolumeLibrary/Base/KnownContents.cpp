#include "KnownContents.h"

#include "Aff4Contents.h"
#include "BlankContents.h"
#include "ExtFileSystem.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

namespace vx {
namespace {

using namespace std::string_view_literals;
using Form = KnownContents::Form;

constexpr size_t kLongestSignature = 24;

// Of Windows:
constexpr const char *kGiveAllDisks = "attach all of its disks to a Windows computer";
// Of Linux:
constexpr const char *kMountOnLinux = "mount it on Linux";
constexpr const char *kConvert = "convert it to a raw image first, with qemu-img convert -O raw";
// An image inside a volume is not opened.
constexpr const char *kCopyOut = "copy it into a file of its own and open that";
constexpr const char *kForensicConvert =
    "export its disk as E01 or as a raw image with the program that made it";

constexpr KnownContents kLuks = {Form::kVolume, "a LUKS volume", "open it with cryptsetup"};
constexpr KnownContents kSwap = {Form::kVolume, "swap space of Linux", "there are no files in it"};
constexpr KnownContents kZip = {Form::kContainer, "a ZIP archive", "unpack it first, with unzip"};
constexpr KnownContents kAff4 = {Form::kContainer, "an AFF4 image", kForensicConvert};
constexpr KnownContents kHfsPlus = {Form::kVolume, "an HFS+ file system", "open it on a Mac"};
constexpr KnownContents kRaid = {Form::kVolume, "a member of a Linux RAID",
                                 "assemble it on Linux with mdadm and open the device that it "
                                 "makes"};

struct Signature {
    int64_t offset;  // bytes; below 0: from the end
    std::string_view bytes;
    KnownContents contents;
};

// Of two that fit the first one counts. What is recognised by few bytes comes last.
constexpr Signature kSignatures[] = {
    {0, "LUKS\xBA\xBE"sv, kLuks},
    {0x4000, "SKUL\xBA\xBE"sv, kLuks},  // the second header of version 2
    {0, "XFSB"sv, {Form::kVolume, "an XFS file system", kMountOnLinux}},
    {0x10040, "_BHRfS_M"sv, {Form::kVolume, "a Btrfs file system", kMountOnLinux}},
    {512,
     "LABELONE"sv,
     {Form::kVolume, "a physical volume of LVM",
      "activate it on Linux with vgchange -ay and open the device of its volume"}},
    {4096, "\xFC\x4E\x2B\xA9"sv, kRaid},
    {0, "\xFC\x4E\x2B\xA9"sv, kRaid},
    {1024, "H+\x00\x04"sv, kHfsPlus},
    {1024, "HX\x00\x05"sv, kHfsPlus},
    {32, "NXSB"sv, {Form::kVolume, "an APFS container", "open it on a Mac"}},
    {3072, "PRIVHEAD"sv, {Form::kVolume, "a Windows dynamic disk", kGiveAllDisks}},
    {4086, "SWAPSPACE2"sv, kSwap},
    {8182, "SWAPSPACE2"sv, kSwap},
    {16374, "SWAPSPACE2"sv, kSwap},
    {65526, "SWAPSPACE2"sv, kSwap},
    {0, "vhdxfile"sv, {Form::kContainer, "a VHDX image", kCopyOut}},
    {0, "QFI\xFB"sv, {Form::kContainer, "a QCOW image", kCopyOut}},
    {64, "\x7F\x10\xDA\xBE"sv, {Form::kContainer, "a VDI image", kCopyOut}},
    {0, "QED\x00"sv, {Form::kContainer, "a QED image", kConvert}},
    {0, "WithoutFreeSpace"sv, {Form::kContainer, "a Parallels image", kConvert}},
    {0, "WithouFreSpacExt"sv, {Form::kContainer, "a Parallels image", kConvert}},
    {0, "COWD"sv, {Form::kContainer, "a VMDK image of the kind COWD", kConvert}},
    {0, "AFF10\x0D\x0A\x00"sv, {Form::kContainer, "an AFF image", kForensicConvert}},
    {0, "EVF2\x0D\x0A\x81\x00"sv, {Form::kContainer, "an Ex01 image", kForensicConvert}},
    {0,
     "LVF\x09\x0D\x0A\xFF\x00"sv,
     {Form::kContainer, "an L01 archive of single files",
      "export its files with the program "
      "that made it"}},
    {0,
     "LEF2\x0D\x0A\x81\x00"sv,
     {Form::kContainer, "an Lx01 archive of single files",
      "export its files with the program "
      "that made it"}},
    {0,
     "MSWIM\x00\x00\x00"sv,
     {Form::kContainer, "a WIM image of Windows", "unpack it with 7z x or wimlib-imagex apply"}},
    {-512,
     "koly"sv,
     {Form::kContainer, "a dmg image",
      "convert it on a Mac with hdiutil convert -format UDTO, or unpack it with 7z x"}},
    {0,
     "encrcdsa"sv,
     {Form::kContainer, "an encrypted dmg image", "open it on a Mac, which asks for its password"}},
    {30, "container.description"sv, kAff4},
    {30, "aff4%3A"sv, kAff4},
    {0, "PK\x03\x04"sv, kZip},
    {0, "PK\x05\x06"sv, kZip},  // without a file in it
    {0,
     "\xFD"
     "7zXZ\x00"sv,
     {Form::kContainer, "a file compressed with xz", "unpack it first, with unxz"}},
    {0,
     "\x1F\x8B\x08"sv,
     {Form::kContainer, "a file compressed with gzip", "unpack it first, with gunzip"}},
    {0,
     "BZh"sv,
     {Form::kContainer, "a file compressed with bzip2", "unpack it first, with bunzip2"}},
    {0,
     "\x28\xB5\x2F\xFD"sv,
     {Form::kContainer, "a file compressed with zstd", "unpack it first, with unzstd"}},
    {0,
     "\x04\x22\x4D\x18"sv,
     {Form::kContainer, "a file compressed with lz4", "unpack it first, with unlz4"}},
    {0, "7z\xBC\xAF\x27\x1C"sv, {Form::kContainer, "a 7z archive", "unpack it first, with 7z x"}},
    {0, "Rar!\x1A\x07"sv, {Form::kContainer, "a RAR archive", "unpack it first, with unrar x"}},
    {257, "ustar"sv, {Form::kContainer, "a tar archive", "unpack it first, with tar xf"}},
    {32769,
     "BEA01"sv,
     {Form::kVolume, "a UDF file system",
      "open it with the system's own "
      "means, as a disc"}},
    {32769,
     "CD001"sv,
     {Form::kVolume, "an ISO 9660 file system",
      "open it with the system's "
      "own means, as a disc"}},
};

bool Matches(std::string_view expected, const uint8_t *found)
{
    return std::memcmp(found, expected.data(), expected.size()) == 0;
}

bool IsZip(const Signature &signature)
{
    return signature.contents.name == kZip.name;
}

bool IsIn(const Signature &signature, const ByteSource &source)
{
    std::array<uint8_t, kLongestSignature> bytes;
    const auto back = static_cast<uint64_t>(-signature.offset);
    if (signature.offset < 0 && back > source.Size())
        return false;
    const uint64_t place =
        signature.offset < 0 ? source.Size() - back : static_cast<uint64_t>(signature.offset);
    return !source.ReadAt(place, bytes.data(), signature.bytes.size()) &&
           Matches(signature.bytes, bytes.data());
}

}  // namespace

const KnownContents kPartOfDynamicDisk = {Form::kVolume, "a part of a Windows dynamic disk",
                                          kGiveAllDisks};
const KnownContents kPartOfStorageSpaces = {Form::kVolume, "a part of a storage pool of Windows",
                                            kGiveAllDisks};

std::string KnownContents::Sentence() const
{
    return (form == Form::kBlank ? "it holds " : "it is ") + std::string(name) + ": " + nextStep;
}

std::string KnownContents::Phrase(const std::string &size) const
{
    return std::string(name) + ", " + size + ": " + nextStep;
}

const KnownContents *KnownContents::Find(const ByteSource &source)
{
    const KnownContents *marked = FindMarked(source);
    return marked != nullptr ? marked : FindBlankContents(source);
}

const KnownContents *KnownContents::FindMarked(const ByteSource &source)
{
    const auto found =
        std::find_if(std::begin(kSignatures), std::end(kSignatures),
                     [&](const Signature &signature) { return IsIn(signature, source); });
    if (found == std::end(kSignatures))
        return FindExtFileSystem(source);
    return IsZip(*found) && IsAff4Archive(source) ? &kAff4 : &found->contents;
}

const KnownContents *KnownContents::FindContainer(const ByteSource &file, ByteView head)
{
    const auto isIn = [&](const Signature &signature) {
        if (signature.contents.form != Form::kContainer || signature.offset < 0)
            return false;
        const ByteView found = head.From(static_cast<size_t>(signature.offset));
        return found.data != nullptr && found.size >= signature.bytes.size() &&
               Matches(signature.bytes, found.data);
    };
    const auto found = std::find_if(std::begin(kSignatures), std::end(kSignatures), isIn);
    if (found == std::end(kSignatures))
        return nullptr;
    return IsZip(*found) && IsAff4Archive(file) ? &kAff4 : &found->contents;
}

}  // namespace vx
