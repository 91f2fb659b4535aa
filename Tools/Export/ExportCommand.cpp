#include "ExportCommand.h"

#include "ArrivalCheck.h"
#include "Choice.h"
#include "Confirmation.h"
#include "CopyWorkers.h"
#include "DestinationProbe.h"
#include "DiskSync.h"
#include "DryRun.h"
#include "EndingSignal.h"
#include "EntryFailures.h"
#include "ExitStatus.h"
#include "FileSizeLimit.h"
#include "Forecast.h"
#include "NumberText.h"
#include "PlacesSurvey.h"
#include "PlanText.h"
#include "SourceFiles.h"
#include "StopRequest.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "TooLargeFiles.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

using Clock = CopyProgress::Clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

int FailWith(int status, const std::string &error)
{
    fprintf(stderr, "volume-export: %s\n", error.c_str());
    return status;
}

constexpr char kUnprovenKey[] =
    "nothing shows that the key of the sectors is the one of this volume: everything that was "
    "decrypted may be wrong; compare a file that you know";

// What follows a shortage of room.
struct ShortageTexts {
    const char *advice;
    const char *question;
    const char *refusal;
};
constexpr ShortageTexts kShortageOfFiles = {
    "; nothing was exported. With --no-space-check, what fits is exported", ". Export what fits?",
    "; nothing was exported"};
constexpr ShortageTexts kShortageOfVolume = {
    " (zeros take no room); nothing was written. With --no-space-check it is tried",
    " (zeros take no room). Begin nevertheless?", "; nothing was written"};

// Shown on a terminal during what can take long and cannot be measured.
class Notice {
public:
    explicit Notice(const char *text)
    {
        if (isatty(STDERR_FILENO) != 0)
            fputs(text, stderr);
    }
    ~Notice()
    {
        if (isatty(STDERR_FILENO) != 0)
            fputs("\r\x1b[K", stderr);
    }
    Notice(const Notice &) = delete;
    Notice &operator=(const Notice &) = delete;
};

ExportReport::Stop StopOf(ExportStop::Reason reason)
{
    switch (reason) {
    case ExportStop::Reason::kNone:
        return ExportReport::Stop::kNone;
    case ExportStop::Reason::kSignal:
        return ExportReport::Stop::kSignal;
    case ExportStop::Reason::kDiskFull:
        return ExportReport::Stop::kDiskFull;
    case ExportStop::Reason::kDiskGone:
        break;
    }
    return ExportReport::Stop::kDiskGone;
}

}  // namespace

ExportCommand::ExportCommand(const VolumeSession &session, const Options &options,
                             Destination destination, ArrivalSink &sink)
    : _session(session),
      _options(options),
      _destination(std::move(destination)),
      _sink(sink),
      _tree(options.volume)
{
}

int ExportCommand::Run()
{
    AssertMainThread();
    std::string error;
    FailWritesBeyondFileSizeLimit();
    if (!MakePlan(&error))
        return Refuse(kExitIncomplete, error + " (nothing was exported)");
    if (!Survey(&error))
        return Refuse(kExitUsage, error + " (nothing was exported)");
    if (_options.dryRun)
        return DryRun(_session, _options, _planned, _tree, _sink).Run(_destination, Sources());
    bool isNew = false;
    if (!_destination.Prepare(&isNew, &error))
        return Refuse(kExitUsage, error);
    return RunInto(isNew);
}

bool ExportCommand::MakePlan(std::string *error)
{
    const Notice notice("Reading the volume's folders...");
    Choice choice(_options);
    PlanFilter filter;
    if (!choice.IsEverything()) {
        filter = [&choice](const std::u16string &path, const PlanEntry &entry) {
            return entry.Has(PlanEntry::kIsNamed) ||
                   choice.Has(path, entry.IsFolder(), entry.size, entry.modified);
        };
    }
    PlanBuilder builder(_session.Volume(), _session.Reports(), filter);
    if (_options.streams)
        builder.AddStreams();
    return builder.Build(_options.paths, &_planned, error);
}

SourceFiles ExportCommand::Sources() const
{
    SourceFiles sources(_options.volume, _options.keyPaths);
    sources.AddFile(_options.map);
    return sources;
}

// Of a disk with a map, or for one.
bool ExportCommand::Survey(std::string *error) const
{
    if (_options.map.empty() && _options.writeMap.empty())
        return true;
    PlacesSurvey survey(_session, _planned);
    {
        const Notice notice("Finding out where the files lie...");
        survey.Run();
    }
    if (!_options.map.empty())
        survey.Print(_options.verbose, stderr);
    if (_options.writeMap.empty())
        return true;
    return Sources().MayReplace(_options.writeMap, error) &&
           survey.WriteMap(_options.writeMap, SourceFiles::ImageOf(_options.volume), error);
}

// isNew: the destination was made for this.
int ExportCommand::RunInto(bool isNew)
{
    const std::string &folder = _destination.Path();
    if (!_tree.Open(folder))
        return Refuse(kExitUsage, "cannot use the destination " + TerminalText(folder) + ": " +
                                      strerror(errno));
    _traits = ProbeDestination(_tree.Root());
    const PlanNames names(_planned.plan, _traits, _options.RawName());
    std::string error;
    if (!MayBegin(names, &error)) {
        if (isNew)
            rmdir(folder.c_str());
        if (_signal != 0)
            EndBySignal(_signal);
        return Refuse(kExitUsage, error);
    }
    if (isNew)
        fprintf(stderr, "Made the folder %s\n", TerminalText(folder).c_str());
    _report.destination = folder;
    _report.image = _options.raw;
    Export(names);
    return Report();
}

// Before the summary, which may have no reader.
int ExportCommand::Report()
{
    if (!_session.Reports().IsKeyProven())
        _report.errors.emplace_back(kUnprovenKey);
    std::string error;
    if (!_sink.Ended(_planned, _report, Status(), &error))
        _report.errors.push_back(error);
    PrintReport(_report, _planned.plan, _options.verbose, stdout);
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        return FailWith(kExitIncomplete, "cannot write the summary");
    return Status();
}

// Nothing was exported.
int ExportCommand::Refuse(int status, const std::string &error)
{
    _report.errors.push_back(error);
    std::string more;
    if (!_sink.Ended(_planned, _report, status, &more))
        FailWith(status, more);
    return FailWith(status, error);
}

bool ExportCommand::MayBegin(const PlanNames &names, std::string *error)
{
    const ExportScene scene = {_planned.plan, names, _tree, _destination.Path(), _traits};
    _sink.ClearLeftovers(scene);
    if (!_options.skipsSpaceCheck && !HasRoom(names, error))
        return false;
    return _sink.Begin(scene, error);
}

// Without room, what fits is exported if the user wants that.
bool ExportCommand::HasRoom(const PlanNames &names, std::string *error)
{
    if (HasRoomForAll(_planned.plan, _tree.Root()))
        return true;
    const SourceFiles sources = Sources();
    const Forecast forecast = Forecaster({_planned, _session.Reports(), names, sources, _tree,
                                          _sink, _tree.Root(), false, !_options.noEmptyFolders})
                                  .Run(_destination.Path());
    if (forecast.Fits())
        return true;
    *error = forecast.ShortageText();
    const ShortageTexts &texts = _options.IsRaw() ? kShortageOfVolume : kShortageOfFiles;
    if (!CanConfirm()) {
        *error += texts.advice;
        return false;
    }
    const Confirmation answer =
        Confirm("volume-export: " + *error + texts.question + " [y/N] ", &_signal);
    *error += texts.refusal;
    return answer == Confirmation::kYes;
}

int ExportCommand::Status() const
{
    if (_report.IsComplete())
        return kExitSuccess;
    const bool wasStopped = _report.stop == ExportReport::Stop::kSignal;
    return wasStopped ? kExitSignalBase + _signal : kExitIncomplete;
}

void ExportCommand::Export(const PlanNames &names)
{
    const std::string what = _options.IsRaw()
                                 ? "Writing the volume"
                                 : "Exporting " + CountText(_planned.files, "file", "files");
    fprintf(stderr, "%s, %s, to %s\n", what.c_str(), SizeText(_planned.bytes).c_str(),
            TerminalText(_options.IsRaw() ? _report.image : _report.destination).c_str());
    NameTooLargeFiles(_planned.plan, _session.Reports(), _traits, _options.verbose);
    Arrivals arrivals(_planned.plan);
    // Before this a signal ends the program at once: nothing has been written.
    const StopRequest stops;
    Copy(names, &arrivals);
    Sync();
    std::string error;
    if (!_sink.Seal(_report.stop == ExportReport::Stop::kNone, &error))
        _report.errors.push_back(error);
    Check(names, arrivals);
    _signal = StopRequest::Signal();
}

void ExportCommand::Copy(const PlanNames &names, Arrivals *arrivals)
{
    const auto start = Clock::now();
    SourceFiles sources = Sources();
    sources.AddFile(_options.writeMap);
    ArrivalPlaces places(_planned.plan, _tree, names, sources);
    CopyProgress progress("Copying", _planned.plan, _planned.bytes, start);
    ExportDates dates(_planned.plan, !_options.noTimes);
    ExportFolders folders(_planned.plan, _tree, names);
    ExportStop stop(_session.Volume());
    CopyJob job{
        _planned.plan, _session.Volume(), _session.Reports(), places, _sink, dates, progress, stop,
        *arrivals,     _options.verbose,  _options.IsRaw()};
    CopyFiles(job, _planned.files);
    Finish(&folders, &dates, &stop, arrivals);
    _report.copySeconds = SecondsSince(start);
    _report.stop = StopOf(stop.Why());
}

// After a stop the user does not wait; another export finishes the folders.
void ExportCommand::Finish(ExportFolders *folders, ExportDates *dates, ExportStop *stop,
                           Arrivals *arrivals)
{
    if (!_options.noEmptyFolders && !stop->IsDue())
        folders->MakeMissing(*stop, arrivals);
    if (!stop->IsDue())
        folders->GiveDates(dates);
    const ExportDates::Failures failures = dates->All();
    if (failures.count == 0)
        return;
    _report.undated = failures.count;
    _report.firstUndated = ShownPathOf(_planned.plan, failures.first);
    _report.undatedReason = strerror(failures.error);
}

void ExportCommand::Sync()
{
    const Notice notice("Waiting until the disk holds everything...");
    const int error = SyncDiskOf(_tree.Root());
    if (error != 0)
        _report.syncError = strerror(error);
}

void ExportCommand::Check(const PlanNames &names, const Arrivals &arrivals)
{
    const bool wasStopped = _report.stop != ExportReport::Stop::kNone;
    ArrivalCheck::Settings settings;
    // After a stop the user does not wait for a comparison.
    settings.verifies = _options.verify && !wasStopped;
    settings.mayBeStopped = !wasStopped;

    const auto start = Clock::now();
    CopyProgress progress(settings.verifies ? "Comparing" : "Checking", _planned.plan,
                          _planned.bytes, start);
    ArrivalCheck check(_session, _planned, _tree, names, _sink, settings, progress, &_report);
    EntryFailures(_planned, _session.Reports(), &_report).AddFolders(&arrivals);
    check.CheckFiles(arrivals);
    if (_options.IsRaw())
        _report.imageHash = _sink.HashTextOf(_planned.plan.Next(ExportPlan::kRoot));
    _report.checkSeconds = SecondsSince(start);
    _report.isVerified = settings.verifies && _report.notChecked.empty();
    if (!_report.notChecked.empty())
        _report.stop = ExportReport::Stop::kSignal;
}

}  // namespace vx
