#import "ExportCommand.h"

#import "ArrivalCheck.h"
#include "ExitStatus.h"
#import "ExportProgressDelegate.h"
#include "FileSizeLimit.h"
#import "LocalNames.h"
#include "NumberText.h"
#include "ProgressLine.h"
#import "RoomCheck.h"
#include "SourceFiles.h"
#include "StopRequest.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#import "VolumeSelection.h"
#import "Z5FileManager.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

double SecondsSince(ProgressLine::Clock::time_point start)
{
    return std::chrono::duration<double>(ProgressLine::Clock::now() - start).count();
}

int FailWith(int status, const std::string &error)
{
    fprintf(stderr, "volume-export: %s\n", error.c_str());
    return status;
}

// Shown on a terminal while the folders are read, which can take long and cannot be measured.
class PlanningNotice {
public:
    PlanningNotice()
    {
        if (isatty(STDERR_FILENO) != 0)
            fputs("Reading the volume's folders...", stderr);
    }
    ~PlanningNotice()
    {
        if (isatty(STDERR_FILENO) != 0)
            fputs("\r\x1b[K", stderr);
    }
    PlanningNotice(const PlanningNotice &) = delete;
    PlanningNotice &operator=(const PlanningNotice &) = delete;
};

}  // namespace

ExportCommand::ExportCommand(const VolumeSession &session, const Options &options,
                             Destination destination)
    : _session(session),
      _options(options),
      _destination(std::move(destination)),
      _tree(options.volume)
{
}

int ExportCommand::Run()
{
    AssertMainThread();
    std::string error;
    FailWritesBeyondFileSizeLimit();
    NSArray *selected = SelectEntries(_session.Explorer(), _options.paths, &error);
    if (selected == nil)
        return FailWith(kExitIncomplete, error + " (nothing was exported)");
    bool made = false;
    if (!_destination.Prepare(&made, &error))
        return FailWith(kExitUsage, error);
    const std::string &folder = _destination.Path();
    if (!_tree.Open(folder))
        return FailWith(kExitUsage, "cannot use the destination " + TerminalText(folder) + ": " +
                                        strerror(errno));
    const Plan plan = MakePlan(selected);
    if (!_options.skipsSpaceCheck && !HasRoom(plan, &error)) {
        if (made)
            rmdir(folder.c_str());
        return FailWith(kExitUsage, error);
    }
    if (made)
        fprintf(stderr, "Made the folder %s\n", TerminalText(folder).c_str());
    _report.destination = folder;
    Export(selected, plan);
    PrintReport(_report, _options.verbose, stdout);
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        return FailWith(kExitIncomplete, "cannot write the summary");
    return Status();
}

int ExportCommand::Status() const
{
    if (_report.IsComplete())
        return kExitSuccess;
    const bool wasStopped = _report.stop == ExportReport::Stop::kSignal;
    return wasStopped ? kExitSignalBase + _signal : kExitIncomplete;
}

ExportCommand::Plan ExportCommand::MakePlan(NSArray *selected) const
{
    const PlanningNotice notice;
    Plan plan;
    plan.engine = [[[Z5FileManager alloc] initWithSourceFiles:selected
                                                  andExplorer:_session.Explorer()] autorelease];
    plan.files = [plan.engine getAllFiles:selected withSize:&plan.bytes];
    return plan;
}

bool ExportCommand::HasRoom(const Plan &plan, std::string *error) const
{
    LocalNames names(_session.Explorer(), _tree.LongestName());
    return RoomCheck(_session, _tree, names).HasRoomFor(plan.files, _destination.Path(), error);
}

void ExportCommand::Export(NSArray *selected, const Plan &plan)
{
    fprintf(stderr, "Exporting %s, %s, to %s\n",
            CountText(static_cast<int64_t>([plan.files count]), "file", "files").c_str(),
            SizeText(plan.bytes).c_str(), TerminalText(_report.destination).c_str());
    const SourceFiles sources(_options.volume, _options.keyFile);
    LocalNames names(_session.Explorer(), _tree.LongestName());
    Arrivals arrivals(_session, _tree, names, sources, _options.verbose);
    // Before this a signal ends the program at once: nothing has been written.
    const StopRequest stops;
    if (plan.engine != nil)
        Copy(plan, &arrivals);
    Check(plan, selected, arrivals);
    _signal = StopRequest::Signal();
}

void ExportCommand::Copy(const Plan &plan, Arrivals *arrivals)
{
    const auto start = ProgressLine::Clock::now();
    ProgressLine line("Copying", stderr, plan.bytes, start);
    ExportProgressDelegate *sink =
        [[[ExportProgressDelegate alloc] initWithArrivals:arrivals line:&line] autorelease];
    NSString *folder = [NSString stringWithUTF8String:_destination.Path().c_str()];
    if (![plan.engine copyTo:folder withDelegate:sink])
        return;  // the check will find everything missing
    [sink waitForWorker];
    _report.copySeconds = SecondsSince(start);
    if (arrivals->StoppedBy() != Arrivals::Stop::kNone)
        _report.stop = arrivals->StoppedBy() == Arrivals::Stop::kDiskFull
                           ? ExportReport::Stop::kDiskFull
                           : ExportReport::Stop::kDiskGone;
    else if ([sink wasStopped])
        _report.stop = ExportReport::Stop::kSignal;
}

void ExportCommand::Check(const Plan &plan, NSArray *selected, const Arrivals &arrivals)
{
    const bool wasStopped = _report.stop != ExportReport::Stop::kNone;
    ArrivalCheck::Settings settings;
    // After a stop the user does not wait for a comparison, and a disk that is gone allows none.
    settings.verifies = _options.verify && !wasStopped;
    settings.mayBeStopped = !wasStopped;

    const auto start = ProgressLine::Clock::now();
    ProgressLine line(settings.verifies ? "Comparing" : "Checking", stderr, plan.bytes, start);
    ArrivalCheck check(_session, selected, _tree, settings, line, &_report);
    check.CheckFolders();
    check.CheckFiles(plan.files, arrivals.All());
    _report.checkSeconds = SecondsSince(start);
    _report.isVerified = settings.verifies && _report.notChecked.empty();
    if (!_report.notChecked.empty())
        _report.stop = StopRequest::Signal() != 0 ? ExportReport::Stop::kSignal
                                                  : ExportReport::Stop::kDiskGone;
}

}  // namespace vx
