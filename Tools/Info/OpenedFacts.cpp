#include "OpenedFacts.h"

#include "ReportText.h"
#include "TypedSecret.h"

#include <algorithm>

namespace vx {
namespace {

void AddPassword(void *passwords, const char *identifier, const char *password)
{
    static_cast<std::vector<RecoveryPassword> *>(passwords)->push_back({identifier, password});
}

template <typename Report, typename Describe>
std::optional<Report> ReportOf(Describe describe, IVolume &volume)
{
    Report report;
    if (describe == nullptr || !describe(&volume, &report))
        return std::nullopt;
    return report;
}

std::string StateText(VolumeFileSystemState state)
{
    switch (state) {
    case VolumeFileSystemState::kClean:
        return "clean";
    case VolumeFileSystemState::kInUse:
        return "it was not taken off in order: what was written last may be missing";
    case VolumeFileSystemState::kDamaged:
        return "errors were found in it before";
    default:
        return "";
    }
}

std::string RoomText(const VolumeFileSystemReport &report)
{
    if (report.totalBytes == kUnknownBytes)
        return "";
    std::string total = ExactBytes(report.totalBytes);
    if (report.freeBytes == kUnknownBytes)
        return total;
    return total + ", of which " + RoundedBytes(report.freeBytes) + " are free";
}

std::string FileSystemText(const VolumeFileSystemReport &report)
{
    const std::string clusters =
        report.clusterBytes == 0 ? ""
                                 : ", clusters of " + GroupedNumber(report.clusterBytes) + " bytes";
    return FactLine("File system", Shown(report.name) + clusters) +
           FactLine("Label", Quoted(report.label)) +
           FactLine("Serial number", Shown(report.serial)) +
           FactLine("State", StateText(report.state)) + FactLine("Size", RoomText(report));
}

const DiskProtectorReport *ProtectorOf(const DiskVolumeReport &volume,
                                       const std::string &identifier)
{
    if (volume.encryption == nullptr || identifier.empty())
        return nullptr;
    const auto begin = volume.encryption->protectors;
    const auto end = begin + volume.encryption->protectorCount;
    const auto found = std::find_if(begin, end, [&identifier](const DiskProtectorReport &other) {
        return identifier == other.identifier;
    });
    return found == end ? nullptr : found;
}

// Of a protector as the description of the disk has it; of a raw key as --unlock does.
std::string UnlockingText(const VolumeUnlockingReport &unlocking, const DiskReport &report)
{
    std::string kind = Shown(unlocking.kind);
    for (uint64_t i = 0; i < report.volumeCount; ++i) {
        if (const auto protector = ProtectorOf(report.volumes[i], unlocking.identifier))
            kind = Shown(protector->kindText);
    }
    const std::string keyId = KeyIdOf(Shown(unlocking.identifier));
    return keyId.empty() ? kind : kind + ", Key ID " + keyId;
}

// The only volume of the report that satisfies the condition.
template <typename Condition>
const DiskVolumeReport *OnlyVolume(const DiskReport &report, Condition condition)
{
    const auto end = report.volumes + report.volumeCount;
    if (std::count_if(report.volumes, end, condition) != 1)
        return nullptr;
    return std::find_if(report.volumes, end, condition);
}

}  // namespace

OpenedFacts::OpenedFacts(const LoadedLibrary &library, IVolume &volume, bool wantsPasswords)
    : _fileSystem(ReportOf<VolumeFileSystemReport>(library.DescribeFileSystem(), volume)),
      _unlocking(ReportOf<VolumeUnlockingReport>(library.DescribeUnlocking(), volume))
{
    const auto visit = library.VisitRecoveryPasswords();
    if (wantsPasswords && visit != nullptr)
        _hasPasswords = visit(&volume, AddPassword, &_passwords);
}

OpenedFacts::~OpenedFacts()
{
    for (RecoveryPassword &password : _passwords)
        WipeText(&password.password);
}

std::string OpenedText(const OpenedFacts &facts, const DiskReport &report)
{
    std::string text = "Opened\n";
    if (const VolumeUnlockingReport *unlocking = facts.Unlocking())
        text += FactLine("Unlocked by", UnlockingText(*unlocking, report));
    if (const VolumeFileSystemReport *fileSystem = facts.FileSystem())
        text += FileSystemText(*fileSystem);
    return text;
}

std::string RecoveryPasswordText(const OpenedFacts &facts)
{
    if (facts.Passwords().empty())
        return "Recovery passwords\n  The volume has none.\n";
    std::string text = "Recovery passwords\n";
    for (const RecoveryPassword &password : facts.Passwords())
        text += "  Key ID " + KeyIdOf(Shown(password.identifier.c_str())) + "  " +
                password.password + "\n  Identifier " + Shown(password.identifier.c_str()) + "\n";
    return text;
}

const char *StateName(VolumeFileSystemState state)
{
    switch (state) {
    case VolumeFileSystemState::kClean:
        return "clean";
    case VolumeFileSystemState::kInUse:
        return "in-use";
    case VolumeFileSystemState::kDamaged:
        return "damaged";
    default:
        return "unknown";
    }
}

const DiskVolumeReport *OpenedVolumeOf(const DiskReport &report, const OpenedFacts &facts)
{
    const VolumeUnlockingReport *unlocking = facts.Unlocking();
    if (unlocking == nullptr)
        return OnlyVolume(report,
                          [](const DiskVolumeReport &volume) { return volume.number != 0; });
    const std::string identifier = unlocking->identifier;
    const DiskVolumeReport *volume = OnlyVolume(report, [&](const DiskVolumeReport &other) {
        return ProtectorOf(other, identifier) != nullptr;
    });
    if (volume != nullptr)
        return volume;
    return OnlyVolume(report,
                      [](const DiskVolumeReport &other) { return other.encryption != nullptr; });
}

}  // namespace vx
