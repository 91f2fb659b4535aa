#include "StartupKeyFileWriter.h"

#include "ByteWriter.h"
#include "Entries.h"
#include "MadeUpBytes.h"

namespace vx::bitlocker::maker {

std::vector<uint8_t> makeStartupKeyFile(const Guid &protector, bool windows11)
{
    ByteWriter external;
    external.guid(protector).u64(kSomeTime);
    external.bytes(
        makeEntry(0x0000, 0x0002, ByteWriter().u16(0x45).u16(0x78).u16(0x74).u16(0).result()));
    if (windows11)
        external.bytes(makeEntry(0x0019, 0x0017, ByteWriter().guid(protector).result()));
    external.bytes(makeKeyEntry(0x2002, startupKeyOf(protector)));
    const std::vector<uint8_t> entry = makeEntry(0x0006, 0x0009, external.result());

    const auto size = static_cast<uint32_t>(48 + entry.size());
    ByteWriter file;
    file.u32(size).u32(1).u32(48).u32(size).guid(protector).u32(1).u32(0).u64(kSomeTime);
    return file.bytes(entry).result();
}

}  // namespace vx::bitlocker::maker
