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

constexpr Signature kEwf[] = {{0, "EVF\x09\x0D\x0A\xFF\x00"sv, "E01"}};
constexpr Signature kVhd[] = {{0, "conectix"sv, "VHD"}};

constexpr Signature kVmdk[] = {
    {0, "KDMV"sv, "VMDK"},
    {0, "# Disk DescriptorFile"sv, "VMDK"},
};

bool Matches(const Signature &signature, ByteView head)
{
    const ByteView found = head.From(signature.offset);
    return found.data != nullptr && found.size >= signature.bytes.size() &&
           std::memcmp(found.data, signature.bytes.data(), signature.bytes.size()) == 0;
}

template <size_t kCount>
const char *NameIn(const Signature (&signatures)[kCount], ByteView head)
{
    for (const Signature &signature : signatures) {
        if (Matches(signature, head))
            return signature.name;
    }
    return nullptr;
}

}  // namespace

const KnownContents *UnsupportedContainer(ByteView head)
{
    const bool isBootSector =
        head.size >= kContainerProbeBytes && head.data[510] == 0x55 && head.data[511] == 0xAA;
    return isBootSector ? nullptr : KnownContents::FindContainer(head);
}

bool IsEwf(ByteView head)
{
    return NameIn(kEwf, head) != nullptr;
}

bool IsVhd(ByteView footer)
{
    return NameIn(kVhd, footer) != nullptr;
}

bool HasSoundVhdFooter(ByteView head)
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

bool IsVmdk(ByteView head)
{
    return NameIn(kVmdk, head) != nullptr;
}

}  // namespace vx
