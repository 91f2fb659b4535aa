#include "StartupKeyFileWriter.h"

#include "ByteWriter.h"
#include "Entries.h"
#include "MadeUpBytes.h"

namespace vx::bitlocker::maker {

std::vector<uint8_t> MakeStartupKeyFile(const Guid &protector, bool windows11)
{
    ByteWriter external;
    external.Guid(protector).U64(kSomeTime);
    external.Bytes(
        MakeEntry(0x0000, 0x0002, ByteWriter().U16(0x45).U16(0x78).U16(0x74).U16(0).Result()));
    if (windows11)
        external.Bytes(MakeEntry(0x0019, 0x0017, ByteWriter().Guid(protector).Result()));
    external.Bytes(MakeKeyEntry(0x2002, StartupKeyOf(protector)));
    const std::vector<uint8_t> entry = MakeEntry(0x0006, 0x0009, external.Result());

    const auto size = static_cast<uint32_t>(48 + entry.size());
    ByteWriter file;
    file.U32(size).U32(1).U32(48).U32(size).Guid(protector).U32(1).U32(0).U64(kSomeTime);
    return file.Bytes(entry).Result();
}

}  // namespace vx::bitlocker::maker
