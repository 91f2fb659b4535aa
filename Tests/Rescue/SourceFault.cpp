#include "SourceFault.h"

#include <cerrno>
#include <map>

namespace vx {
namespace {

constexpr uint64_t kMebibyte = 1 << 20;
constexpr uint64_t kSector = 512;
constexpr uint64_t kMiddle = 5 * kMebibyte + 7 * kSector;  // of the large file
constexpr uint64_t kWideBytes = 256 * 1024;
constexpr unsigned kSlowMilliseconds = 20;

class Aim {
public:
    Aim(const RescueVolume &volume, FaultPlan *plan) : _volume(volume), _plan(plan) {}

    bool Bad(const std::string &file, uint64_t offset, int error = EIO,
             int times = FaultPlan::kAlways, unsigned milliseconds = 0)
    {
        const auto spot = _volume.SpotOf(file, offset);
        if (!spot)
            return false;
        _plan->Bad(*spot, error, times, milliseconds);
        for (const auto &[number, lost] : _volume.LostWith(*spot))
            effect.lost[number].Add(lost);
        effect.mayLoseAny = effect.mayLoseAny || _volume.LosesMoreWith(*spot);
        ++effect.badSectors;
        return true;
    }

    bool Wide(const std::string &file, uint64_t offset)
    {
        bool all = true;
        for (uint64_t at = 0; at < kWideBytes; at += kSector)
            all = Bad(file, offset + at) && all;
        return all;
    }

    bool Slow(const std::string &file, uint64_t offset)
    {
        const auto spot = _volume.SpotOf(file, offset);
        if (spot)
            _plan->Bad(*spot, 0, FaultPlan::kAlways, kSlowMilliseconds);
        return spot.has_value();
    }

    bool Gone(const std::string &file, uint64_t offset, int error)
    {
        const auto spot = _volume.SpotOf(file, offset);
        if (spot)
            _plan->Gone(*spot, error);
        effect.isGone = true;
        return spot.has_value();
    }

    bool Landmark(const std::string &name)
    {
        const auto found = _volume.landmarks.find(name);
        if (found == _volume.landmarks.end())
            return false;
        _plan->Bad(found->second, EIO);
        effect.mayLoseAny = true;
        effect.badSectors = 1;
        return true;
    }

    FaultEffect effect;

private:
    const RescueVolume &_volume;
    FaultPlan *_plan;
};

bool AddBadSectors(SourceFault fault, Aim *aim)
{
    switch (fault) {
    case SourceFault::kOneSector:
        return aim->Bad(kLarge, kMiddle);
    case SourceFault::kFirstSector:
        return aim->Bad(kLarge, 0);
    case SourceFault::kLastSector:
        return aim->Bad(kChunk, 4 * kMebibyte - kSector);
    case SourceFault::kSmallFile:
        return aim->Bad(kVictim, 2 * kSector);
    case SourceFault::kSeveral:
        return aim->Bad(kLarge, 4 * kMebibyte - kSector) && aim->Bad(kLarge, 4 * kMebibyte) &&
               aim->Bad(kLarge, kMebibyte) && aim->Bad(kMiddling, 100 * 1024);
    case SourceFault::kWide:
        return aim->Wide(kLarge, 2 * kMebibyte);
    case SourceFault::kPacked:
        return aim->Bad(kPacked, 70000);
    case SourceFault::kSparse:
        return aim->Bad(kSparse, 520 * 1024);
    default:
        return false;
    }
}

bool Add(SourceFault fault, Aim *aim)
{
    switch (fault) {
    case SourceFault::kNone:
        return true;
    case SourceFault::kTransient:
        return aim->Bad(kLarge, kMiddle, EIO, 1);
    case SourceFault::kTransientTwice:
        return aim->Bad(kLarge, kMiddle, EIO, 2);
    case SourceFault::kSlow:
        return aim->Slow(kLarge, kMiddle);
    case SourceFault::kSlowAndBad:
        return aim->Bad(kLarge, kMiddle, EIO, FaultPlan::kAlways, kSlowMilliseconds);
    case SourceFault::kGoneInTheMiddle:
        return aim->Gone(kLarge, kMiddle, ENXIO);
    case SourceFault::kGoneSoon:
        return aim->Gone(kChunk, kMebibyte, ENODEV);
    case SourceFault::kGoneAsError:
        return aim->Gone(kLarge, kMiddle, EIO);
    case SourceFault::kEntry:
        return aim->Landmark("entry");
    case SourceFault::kRecord:
        return aim->Landmark("record");
    case SourceFault::kTable:
        return aim->Landmark("table");
    case SourceFault::kBoot:
        return aim->Landmark("boot");
    default:
        return AddBadSectors(fault, aim);
    }
}

const std::map<SourceFault, std::string> kNames = {
    {SourceFault::kNone, "GoodDisk"},
    {SourceFault::kOneSector, "OneBadSector"},
    {SourceFault::kFirstSector, "FirstSectorBad"},
    {SourceFault::kLastSector, "LastSectorBad"},
    {SourceFault::kSmallFile, "BadSectorOfASmallFile"},
    {SourceFault::kSeveral, "SeveralBadSectors"},
    {SourceFault::kWide, "WideBadPlace"},
    {SourceFault::kTransient, "SectorBadOnce"},
    {SourceFault::kTransientTwice, "SectorBadTwice"},
    {SourceFault::kSlow, "SlowSector"},
    {SourceFault::kSlowAndBad, "SlowBadSector"},
    {SourceFault::kGoneInTheMiddle, "GoneInTheMiddle"},
    {SourceFault::kGoneSoon, "GoneSoon"},
    {SourceFault::kGoneAsError, "GoneWithReadErrors"},
    {SourceFault::kEntry, "FolderEntryBad"},
    {SourceFault::kRecord, "FileRecordBad"},
    {SourceFault::kTable, "AllocationTableBad"},
    {SourceFault::kBoot, "BootSectorBad"},
    {SourceFault::kPacked, "BadSectorOfACompressedFile"},
    {SourceFault::kSparse, "BadSectorOfASparseFile"},
};

}  // namespace

const std::vector<SourceFault> &AllSourceFaults()
{
    static const std::vector<SourceFault> all = [] {
        std::vector<SourceFault> faults;
        faults.reserve(kNames.size());
        for (const auto &[fault, name] : kNames)
            faults.push_back(fault);
        return faults;
    }();
    return all;
}

std::string NameOf(SourceFault fault)
{
    return kNames.at(fault);
}

std::optional<FaultEffect> AimAt(const RescueVolume &volume, SourceFault fault, FaultPlan *plan)
{
    Aim aim(volume, plan);
    return Add(fault, &aim) ? std::make_optional(aim.effect) : std::nullopt;
}

}  // namespace vx
