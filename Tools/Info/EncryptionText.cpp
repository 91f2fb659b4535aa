#include "EncryptionText.h"

#include "NumberText.h"
#include "OpeningWays.h"
#include "ReportText.h"
#include "TextTable.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace vx {
namespace {

std::string LayoutText(const char *layout)
{
    if (strcmp(layout, "vista") == 0)
        return "Windows Vista";
    if (strcmp(layout, "windows-7") == 0)
        return "Windows 7 or later";
    if (strcmp(layout, "to-go") == 0)
        return "Windows 7 or later, To Go";
    return Shown(layout);
}

std::string MethodText(const DiskEncryptionReport &encryption)
{
    std::string method = Shown(encryption.method);
    if (encryption.sectorBytes == 0 || method.empty())
        return method;
    return method + ", sectors of " + GroupedNumber(encryption.sectorBytes) + " bytes";
}

// In thousandths, rounded down.
std::string ShareText(uint64_t part, uint64_t whole)
{
    const double share = static_cast<double>(part) / static_cast<double>(whole);
    const int thousandths = std::min(static_cast<int>(share * 1000), 999);
    if (part > 0 && thousandths == 0)
        return "less than 0.1 %";
    char percent[32];
    snprintf(percent, sizeof(percent), "%d.%d %%", thousandths / 10, thousandths % 10);
    return percent;
}

std::string ProtectionText(const DiskEncryptionReport &encryption)
{
    return encryption.hasClearKey ? "suspended: the volume opens without a secret" : "";
}

uint64_t BadCopies(const DiskEncryptionReport &encryption)
{
    const auto end = encryption.copies + encryption.copyCount;
    return static_cast<uint64_t>(
        std::count_if(encryption.copies, end,
                      [](const DiskMetadataReport &copy) { return *copy.problem != '\0'; }));
}

std::string MetadataText(const DiskEncryptionReport &encryption)
{
    if (encryption.copyCount == 0)
        return "";
    const auto count = static_cast<int64_t>(encryption.copyCount);
    const uint64_t bad = BadCopies(encryption);
    const std::string copies = CountText(count, "copy", "copies");
    if (bad == 0)
        return copies + (count == 1 ? ", good" : ", all good");
    std::string text =
        copies + ", of which " + GroupedNumber(bad) + (bad == 1 ? " is bad" : " are bad");
    for (uint64_t i = 0; i < encryption.copyCount; ++i) {
        const DiskMetadataReport &copy = encryption.copies[i];
        text += "\n" + std::string(17, ' ') + "at byte " + GroupedNumber(copy.offset) + ": " +
                (*copy.problem == '\0' ? "good" : Shown(copy.problem));
    }
    return text;
}

std::string ProtectorTable(const DiskEncryptionReport &encryption)
{
    if (encryption.protectorCount == 0)
        return "";
    TextTable table(2);
    table.Add({"Protector", "Key ID", "Date", "Identifier"});
    for (uint64_t i = 0; i < encryption.protectorCount; ++i) {
        const DiskProtectorReport &protector = encryption.protectors[i];
        const std::string identifier = Shown(protector.identifier);
        table.Add({Shown(protector.kindText), KeyIdOf(identifier), DateOf(protector.changed),
                   identifier});
    }
    return "\n" + table.Text();
}

std::string HeadingOf(const DiskVolumeReport &volume)
{
    std::string heading = "Encrypted volume";
    if (volume.number != 0)
        heading += " " + std::to_string(volume.number);
    if (volume.offset != 0)
        heading += ", " + RoundedBytes(volume.bytes) + " at byte " + GroupedNumber(volume.offset);
    return heading + "\n";
}

}  // namespace

std::string EncryptionState(const DiskVolumeReport &volume)
{
    const DiskEncryptionReport &encryption = *volume.encryption;
    std::string state = Shown(encryption.state);
    if (encryption.encryptedBytes == kUnknownEncryptedBytes)
        return state;
    const uint64_t encrypted = std::min(encryption.encryptedBytes, volume.bytes);
    if (encrypted == volume.bytes)
        return state + ", 100 %";
    if (encrypted == 0 && state == "decrypted")
        return state;
    const std::string share = ShareText(encrypted, volume.bytes);
    const std::string sizes =
        " (" + RoundedBytes(encrypted) + " of " + RoundedBytes(volume.bytes) + ")";
    // It says that its encryption is finished, which does not mean that all of it is encrypted.
    return state == "encrypted" ? "partly encrypted, " + share + sizes
                                : state + ", " + share + " encrypted" + sizes;
}

std::string EncryptionText(const DiskVolumeReport &volume, const std::string &address)
{
    const DiskEncryptionReport &encryption = *volume.encryption;
    return HeadingOf(volume) + FactLine("Method", MethodText(encryption)) +
           FactLine("State", EncryptionState(volume)) +
           FactLine("Protection", ProtectionText(encryption)) +
           FactLine("Encrypted by", LayoutText(encryption.layout)) +
           FactLine("Description", Quoted(encryption.description)) +
           FactLine("Created", MomentOf(encryption.created)) +
           FactLine("Identifier", Shown(encryption.identifier)) +
           FactLine("Metadata", MetadataText(encryption)) + ProtectorTable(encryption) + "\n" +
           OpeningWaysText(encryption, address);
}

}  // namespace vx
