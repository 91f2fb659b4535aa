#import "ExportCommand.h"

#import "ArrivalCheck.h"
#include "ExitStatus.h"
#import "ExportProgressDelegate.h"
#include "NumberText.h"
#include "ProgressLine.h"
#include "StopRequest.h"
#include "TerminalText.h"
#import "VolumeSelection.h"
#import "Z5FileManager.h"

#include <algorithm>
#include <cstdio>
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
    : _session(session), _options(options), _destination(std::move(destination))
{
}

int ExportCommand::Run()
{
    std::string error;
    NSArray *selected = SelectEntries(_session.Explorer(), _options.paths, &error);
    if (selected == nil)
        return FailWith(kExitIncomplete, error + " (nothing was exported)");
    bool made = false;
    if (!_destination.Prepare(&made, &error))
        return FailWith(kExitUsage, error);
    if (made)
        fprintf(stderr, "Made the folder %s\n", TerminalText(_destination.Path()).c_str());
    _report.destination = _destination.Path();
    Export(selected);
    PrintReport(_report, _options.verbose, stdout);
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        return FailWith(kExitIncomplete, "cannot write the summary");
    if (_report.IsComplete())
        return kExitSuccess;
    return _report.wasStopped ? kExitSignalBase + _signal : kExitIncomplete;
}

void ExportCommand::Export(NSArray *selected)
{
    Plan plan;
    {
        const PlanningNotice notice;
        plan.engine = [[[Z5FileManager alloc] initWithSourceFiles:selected
                                                      andExplorer:_session.Explorer()] autorelease];
        plan.files = [plan.engine getAllFiles:selected withSize:&plan.bytes];
    }
    fprintf(stderr, "Exporting %s, %s, to %s\n",
            CountText(static_cast<int64_t>([plan.files count]), "file", "files").c_str(),
            SizeText(plan.bytes).c_str(), TerminalText(_report.destination).c_str());
    // Until here a signal ends the program at once: nothing has been written.
    const StopRequest stops;
    const time_t started = time(nullptr);
    const NSUInteger reached = plan.engine == nil ? 0 : Copy(plan);
    Check(plan, selected, reached, started);
    _signal = StopRequest::Signal();
}

NSUInteger ExportCommand::Copy(const Plan &plan)
{
    const auto start = ProgressLine::Clock::now();
    ProgressLine line("Copying", stderr, plan.bytes, start);
    ExportProgressDelegate *sink =
        [[[ExportProgressDelegate alloc] initWithPlan:plan.files line:&line] autorelease];
    NSString *folder = [NSString stringWithUTF8String:_destination.Path().c_str()];
    if (![plan.engine copyTo:folder withDelegate:sink])
        return [plan.files count];  // all will be found missing
    [sink waitForWorker];
    _report.copySeconds = SecondsSince(start);
    _report.wasStopped = [sink wasStopped];
    const NSUInteger count = [plan.files count];
    const NSUInteger reached = _report.wasStopped ? std::min([sink reachedCount], count) : count;
    _report.notCopiedFiles = static_cast<int64_t>(count - reached);
    return reached;
}

void ExportCommand::Check(const Plan &plan, NSArray *selected, NSUInteger count, time_t started)
{
    ArrivalCheck::Settings settings;
    settings.destination = _destination.Path();
    settings.started = started;
    // Who stops an export does not wait for a comparison.
    settings.verifies = _options.verify && !_report.wasStopped;
    settings.mayBeStopped = !_report.wasStopped;

    const auto start = ProgressLine::Clock::now();
    ProgressLine line(settings.verifies ? "Comparing" : "Checking", stderr, plan.bytes, start);
    ArrivalCheck check(_session, selected, settings, line, &_report);
    check.CheckFolders();
    check.CheckFiles(plan.files, count);
    _report.checkSeconds = SecondsSince(start);
    _report.isVerified = settings.verifies && _report.notCheckedFiles == 0;
    _report.wasStopped = _report.wasStopped || _report.notCheckedFiles > 0;
}

}  // namespace vx
