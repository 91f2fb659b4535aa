#include "DiskText.h"

#include "EncryptionText.h"
#include "ReportText.h"
#include "ShellWord.h"
#include "TerminalText.h"
#include "TextTable.h"
#include "VolumeAddress.h"

#include <algorithm>
#include <cctype>

namespace vx {
namespace {

std::string SectorText(uint32_t sectorBytes)
{
    return sectorBytes == 0 ? "" : ", sectors of " + GroupedNumber(sectorBytes) + " bytes";
}

// "gpt" -> "GPT"
std::string TableText(const char *table)
{
    std::string text = Shown(table);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(toupper(letter)); });
    return text;
}

// What is in it, and what to do with what does not open.
std::string ContentsText(const DiskVolumeReport &volume)
{
    const std::string next = *volume.nextStep == '\0' ? "" : ": " + Shown(volume.nextStep);
    return Shown(volume.kindText) + next;
}

std::string PartitionText(const DiskVolumeReport &volume)
{
    return *volume.partitionName != '\0' ? Quoted(volume.partitionName)
                                         : Shown(volume.partitionType);
}

std::string PartitionTable(const DiskReport &report)
{
    TextTable table(2, {0, 1, 2});
    table.Add({"No.", "Begins at", "Size", "Label", "Partition", "Contents"});
    for (uint64_t i = 0; i < report.volumeCount; ++i) {
        const DiskVolumeReport &volume = report.volumes[i];
        table.Add({volume.number == 0 ? "-" : std::to_string(volume.number),
                   RoundedBytes(volume.offset), RoundedBytes(volume.bytes), Quoted(volume.label),
                   PartitionText(volume), ContentsText(volume)});
    }
    return "\n" + table.Text();
}

// Of a disk without partitions.
std::string WholeText(const DiskReport &report)
{
    if (report.volumeCount == 0)
        return "";
    const DiskVolumeReport &volume = report.volumes[0];
    return FactLine("Contents", ContentsText(volume)) + FactLine("Label", Quoted(volume.label));
}

// Where nothing opens, a volume may be there whose beginning, or whose table, is lost.
std::string SearchHint(const std::string &path, const DiskReport &report)
{
    const auto end = report.volumes + report.volumeCount;
    const bool opens = std::any_of(report.volumes, end, [](const DiskVolumeReport &volume) {
        return volume.number != 0 || volume.encryption != nullptr;
    });
    if (opens || report.volumeCount == 0)
        return "";
    return "\n  If there was an encrypted volume: volume-info --search " + ShellWord(path) + "\n";
}

std::string HeaderText(const std::string &volume, const DiskReport &report)
{
    return TerminalText(volume) + "\n" + FactLine("Kind", Shown(report.containerText)) +
           FactLine("Size", ExactBytes(report.bytes) + SectorText(report.sectorBytes)) +
           FactLine("Partitions", TableText(report.table));
}

}  // namespace

std::string DiskText(const std::string &volume, const DiskReport &report)
{
    const bool hasTable = *report.table != '\0';
    std::string text =
        HeaderText(volume, report) + (hasTable ? PartitionTable(report) : WholeText(report));
    for (uint64_t i = 0; i < report.volumeCount; ++i) {
        const DiskVolumeReport &part = report.volumes[i];
        if (part.encryption != nullptr)
            text += "\n" + EncryptionText(part, VolumeAddress(volume, report, part));
    }
    return text + SearchHint(volume, report);
}

}  // namespace vx
