#include "Forecast.h"

#include "EntryObstacle.h"
#include "ExportFolders.h"
#include "ExportProgress.h"
#include "NumberText.h"
#include "ObstacleReason.h"
#include "PlanText.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "TooLargeFiles.h"
#include "Unicode.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <utility>

namespace vx {
namespace {

using Number = ExportPlan::Number;

// st_blocks counts in these, whatever the file system's own blocks are.
constexpr int64_t kStatBlock = 512;

std::optional<DiskSpace> SpaceOf(int folder)
{
    DiskSpace space;
    return LookAtSpace(folder, &space) ? std::optional<DiskSpace>(space) : std::nullopt;
}

int64_t SignedSize(uint64_t bytes)
{
    return static_cast<int64_t>(std::min<uint64_t>(bytes, INT64_MAX));
}

// What is freed when the file is replaced. Another name of it would keep its blocks.
int64_t GivenBackBy(const struct stat &file)
{
    return S_ISREG(file.st_mode) && file.st_nlink == 1 ? file.st_blocks * kStatBlock : 0;
}

}  // namespace

std::string Forecast::ShortageText() const
{
    return "not enough room on the disk of " + TerminalText(report.destination) +
           ": the export needs " + ExactSizeText(SignedSize(neededBytes)) + ", and " +
           ExactSizeText(SignedSize(disk->freeBytes)) + " are free";
}

void PrintForecast(const Forecast &forecast, const ExportPlan &plan, bool verbose, FILE *stream)
{
    const ExportReport &report = forecast.report;
    const std::string what = report.image.empty()
                                 ? "export " + CountText(report.arrivedFiles, "file", "files") +
                                       " in " + CountText(forecast.folders, "folder", "folders")
                                 : "write the volume";
    fprintf(stream, "Would %s, %s, to %s\n", what.c_str(),
            ExactSizeText(report.arrivedBytes).c_str(),
            TerminalText(report.image.empty() ? report.destination : report.image).c_str());
    fprintf(stream, "Would replace %s\n", CountText(forecast.replaced, "file", "files").c_str());
    if (forecast.complete > 0)
        fprintf(stream, "Would leave out %s there already\n",
                CountText(forecast.complete, "file that is", "files that are").c_str());
    if (forecast.disk)
        fprintf(stream, "Needs %s of the disk, of which %s are free\n",
                ExactSizeText(SignedSize(forecast.neededBytes)).c_str(),
                ExactSizeText(SignedSize(forecast.disk->freeBytes)).c_str());
    PrintExpected(report, plan, verbose, stream);
}

bool HasRoomForAll(const ExportPlan &plan, int folder)
{
    const auto disk = SpaceOf(folder);
    if (!disk)
        return true;
    RoomCount room(disk->blockSize);
    for (Number file = ExportPlan::kRoot; file != ExportPlan::kNone; file = plan.Next(file)) {
        if (!plan.At(file).IsFolder())
            room.Add(plan.At(file).size, 0);
    }
    return room.Peak() <= disk->freeBytes;
}

Forecaster::Forecaster(const Scene &scene)
    : _scene(scene),
      _plan(scene.planned.plan),
      _disk(SpaceOf(scene.disk)),
      _room(_disk ? _disk->blockSize : 1),
      _failures(scene.planned, scene.reports, &_forecast.report),
      _places(_plan, scene.tree, scene.names, scene.sources),
      _isMade(_plan.Size())
{
    AssertMainThread();
}

Forecast Forecaster::Run(const std::string &destination)
{
    _forecast.report.destination = destination;
    _failures.AddFolders(nullptr);
    for (Number file = ExportPlan::kRoot; file != ExportPlan::kNone; file = _plan.Next(file)) {
        if (!_plan.At(file).IsFolder())
            AddFile(file);
    }
    if (_scene.makesEmptyFolders)
        AddEmptyFolders();
    _forecast.folders = std::count(_isMade.begin(), _isMade.end(), true);
    _forecast.disk = _disk;
    _forecast.neededBytes = _room.Peak();
    return std::move(_forecast);
}

// In the order in which an export meets what can be in its way.
void Forecaster::AddFile(Number file)
{
    const PlanEntry &entry = _plan.At(file);
    if (!IsUtf16(_plan.NameOf(file)))
        return _failures.Add(file, FailureKind::kName, "its name is not valid text");
    PlaceError error;
    const bool isThere = FindPlace(file, &error);
    if (!error.reason.empty())
        return _failures.Add(file, FailureKind::kDestination, error.reason);
    const VolumeObstacle obstacle = ObstacleOf(_plan, file, _scene.reports);
    if (!HasCopy(obstacle))
        return _failures.AddUnopened(file, obstacle, "the volume cannot open it");
    if (entry.size > _scene.names.Traits().largestFile)
        return _failures.Add(file, FailureKind::kDestination,
                             ReasonTooLarge(_scene.names.Traits()));
    Standing standing;
    if (isThere && !_places.MayTake(_place, &standing, &error))
        return _failures.Add(file, FailureKind::kDestination, error.reason);
    if (standing.IsFile() &&
        _scene.sink.LooksComplete(entry, standing.found, _scene.names.Traits().timeStep)) {
        ++_forecast.complete;
        return MarkFolders(file);
    }
    _room.Add(entry.size, GivenBackBy(standing.found));
    if (obstacle != VolumeObstacle::kNone)
        return _failures.Add(file, FailureKind::kDamaged,
                             std::string(ObstacleReason(obstacle)) + "; the copy would be damaged");
    _forecast.replaced += standing.target != LocalTarget::kNothing ? 1 : 0;
    AddArrival(file);
}

// Whether the folder of its place exists. error: why the file cannot arrive.
bool Forecaster::FindPlace(Number file, PlaceError *error)
{
    if (_places.Find(file, DestinationTree::Missing::kFail, &_place, error))
        return !_scene.isNew;
    const bool isMissing = error->error == ENOENT || (_scene.isNew && error->error != 0);
    if (isMissing)
        error->reason.clear();
    return false;
}

void Forecaster::AddArrival(Number file)
{
    ExportReport &report = _forecast.report;
    const int64_t size = std::max<int64_t>(_plan.At(file).size, 0);
    ++report.arrivedFiles;
    report.arrivedBytes = AddSizes(report.arrivedBytes, size);
    MarkFolders(file);
    if (_place.isChanged)
        report.renamed.push_back({file, _place.Path()});
}

// The folders above it, up to the first that an earlier file has brought.
void Forecaster::MarkFolders(Number file)
{
    Number folder = _plan.At(file).parent;
    for (; folder != ExportPlan::kRoot && !_isMade[folder]; folder = _plan.At(folder).parent)
        _isMade[folder] = true;
}

void Forecaster::AddEmptyFolders()
{
    const std::vector<bool> isWanted = ExportFolders::Wanted(_plan);
    std::vector<bool> isBlocked(_plan.Size());
    for (Number folder = _plan.Next(ExportPlan::kRoot); folder != ExportPlan::kNone;
         folder = _plan.Next(folder)) {
        if (!isWanted[folder] || _isMade[folder])
            continue;
        const bool isBlockedAbove = isBlocked[_plan.At(folder).parent];
        const std::string reason = isBlockedAbove ? "" : ReasonBlocked(folder);
        isBlocked[folder] = isBlockedAbove || !reason.empty();
        _isMade[folder] = !isBlocked[folder];
        if (!reason.empty())
            _failures.AddUnmade(folder, FailureKind::kDestination, reason);
    }
}

// Why the folder could not be made; empty if it could be, or exists.
std::string Forecaster::ReasonBlocked(Number folder)
{
    bool isChanged = false;
    std::string reason;
    int error = ENOENT;
    const std::string path = _scene.names.PathOf(folder, &isChanged);
    const bool isThere =
        _scene.isNew || path.empty() ||
        _scene.tree.Enter(path, DestinationTree::Missing::kFail, &reason, &error) != nullptr;
    return isThere || error == ENOENT ? "" : reason;
}

}  // namespace vx
