#include "ContainerKind.h"

#include <cstring>
#include <string_view>

namespace vx {
namespace {

struct Signature {
    size_t offset;
    std::string_view bytes;
    const char *name;
};

using namespace std::string_view_literals;

constexpr Signature kUnsupported[] = {
    {0, "vhdxfile"sv, "a VHDX image"},
    {0, "QFI\xFB"sv, "a QCOW image"},
    {64, "\x7F\x10\xDA\xBE"sv, "a VDI image"},
    {0, "AFF10\x0D\x0A\x00"sv, "an AFF image; convert it to E01 or to a raw image first"},
    {0, "EVF2\x0D\x0A\x81\x00"sv, "an Ex01 image"},
    {0, "LEF2\x0D\x0A\x81\x00"sv, "an Lx01 image"},
    {0, "PK\x03\x04"sv, "a ZIP archive; unpack it first"},
    {0,
     "\xFD"
     "7zXZ\x00"sv,
     "compressed with xz; unpack it first"},
    {0, "\x1F\x8B\x08"sv, "compressed with gzip; unpack it first"},
    {0, "BZh"sv, "compressed with bzip2; unpack it first"},
    {0, "\x28\xB5\x2F\xFD"sv, "compressed with zstd; unpack it first"},
    {0, "7z\xBC\xAF\x27\x1C"sv, "a 7z archive; unpack it first"},
};

constexpr Signature kEwf[] = {{0, "EVF\x09\x0D\x0A\xFF\x00"sv, "E01"}};
constexpr Signature kVhd[] = {{0, "conectix"sv, "VHD"}};

constexpr Signature kVmdk[] = {
    {0, "KDMV"sv, "VMDK"},
    {0, "# Disk DescriptorFile"sv, "VMDK"},
};

bool Matches(const Signature &signature, bitlocker::ByteView head)
{
    const bitlocker::ByteView found = head.from(signature.offset);
    return found.data != nullptr && found.size >= signature.bytes.size() &&
           std::memcmp(found.data, signature.bytes.data(), signature.bytes.size()) == 0;
}

template <size_t kCount>
const char *NameIn(const Signature (&signatures)[kCount], bitlocker::ByteView head)
{
    for (const Signature &signature : signatures) {
        if (Matches(signature, head))
            return signature.name;
    }
    return nullptr;
}

}  // namespace

const char *UnsupportedContainer(bitlocker::ByteView head)
{
    return NameIn(kUnsupported, head);
}

bool IsEwf(bitlocker::ByteView head)
{
    return NameIn(kEwf, head) != nullptr;
}

bool IsVhd(bitlocker::ByteView footer)
{
    return NameIn(kVhd, footer) != nullptr;
}

bool HasSoundVhdFooter(bitlocker::ByteView head)
{
    constexpr size_t kFooterBytes = 512;
    constexpr size_t kChecksumAt = 64;
    if (!IsVhd(head) || head.size < kFooterBytes)
        return false;
    uint32_t sum = 0;
    uint32_t stored = 0;
    for (size_t i = 0; i < kFooterBytes; ++i) {
        const bool isChecksum = i >= kChecksumAt && i < kChecksumAt + 4;
        if (isChecksum)
            stored = stored << 8 | head.data[i];
        else
            sum += head.data[i];
    }
    return stored == ~sum;
}

bool IsVmdk(bitlocker::ByteView head)
{
    return NameIn(kVmdk, head) != nullptr;
}

}  // namespace vx
