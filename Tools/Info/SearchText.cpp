#include "SearchText.h"

#include "DescribedDisk.h"
#include "NumberText.h"
#include "OpeningWays.h"
#include "ReportText.h"
#include "ShellWord.h"
#include "TerminalText.h"

namespace vx {
namespace {

std::string CopiesText(const FoundVolume &found)
{
    std::string text = CountText(static_cast<int64_t>(found.copies.size()), "copy", "copies");
    const char *separator = ", at byte ";
    for (const uint64_t copy : found.copies) {
        text += separator + GroupedNumber(copy);
        separator = ", ";
    }
    return text;
}

std::string FirstSectorText(const FoundVolume &found)
{
    const std::string sector = found.hasBootSector ? "there" : "lost";
    return sector + (found.isInTable ? "; a table of partitions names it"
                                     : "; no table of partitions names it");
}

// Null if the library does not describe it, or describes none that is encrypted.
const DiskEncryptionReport *EncryptionOf(const DescribedDisk &disk)
{
    const DiskReport *report = disk.Report();
    for (uint64_t i = 0; report != nullptr && i < report->volumeCount; ++i) {
        if (report->volumes[i].encryption != nullptr)
            return report->volumes[i].encryption;
    }
    return nullptr;
}

std::string WaysText(const LoadedLibrary &library, const std::string &path)
{
    const DescribedDisk disk(library, path);
    const DiskEncryptionReport *encryption = EncryptionOf(disk);
    if (encryption != nullptr)
        return "\n" + OpeningWaysText(*encryption, ShellWord(path));
    return "  To open it: volume-export --list " + ShellWord(path) + " --unlock KIND SECRET\n";
}

std::string FindingText(const FoundVolume &found)
{
    const std::string offset = GroupedNumber(found.offset);
    return "Encrypted volume at byte " + offset + "\n" +
           FactLine("Size", found.bytes == 0 ? "" : ExactBytes(found.bytes)) +
           FactLine("Method", Shown(found.method.c_str())) +
           FactLine("Description", Quoted(found.description.c_str())) +
           FactLine("Identifier", Shown(found.identifier.c_str())) +
           FactLine("First sector", FirstSectorText(found)) +
           FactLine("Metadata", CopiesText(found));
}

}  // namespace

std::string SearchText(const LoadedLibrary &library, const std::string &disk,
                       const DiskSearch &search)
{
    const auto count = static_cast<int64_t>(search.found.size());
    std::string text = TerminalText(disk) + ": " +
                       (count > 0 && search.gaps.uncheckedCopies > 0 ? "at least " : "") +
                       (count == 0 ? "no encrypted volume"
                                   : CountText(count, "encrypted volume", "encrypted volumes")) +
                       (search.isCancelled ? " found before the search was stopped\n" : " found\n");
    for (const FoundVolume &found : search.found) {
        text += "\n" + FindingText(found);
        if (!search.isCancelled)
            text += WaysText(library, disk + found.address);
        else
            text += "  What opens it: volume-info " + ShellWord(disk + found.address) + "\n";
    }
    return text;
}

}  // namespace vx
