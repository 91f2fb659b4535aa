#include "DryRun.h"

#include "DestinationProbe.h"
#include "ExitStatus.h"
#include "PathText.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>

namespace vx {
namespace {

int FailWith(int status, const std::string &error)
{
    fprintf(stderr, "volume-export: %s\n", error.c_str());
    return status;
}

}  // namespace

int DryRun::Run(Destination destination, const SourceFiles &sources)
{
    AssertMainThread();
    Forecast forecast;
    std::string error;
    if (!Look(std::move(destination), sources, &forecast, &error))
        return FailWith(kExitUsage, error);
    PrintForecast(forecast, _planned.plan, _options.verbose, stdout);
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        return FailWith(kExitIncomplete, "cannot write the summary");
    return Status(forecast);
}

bool DryRun::Look(Destination destination, const SourceFiles &sources, Forecast *forecast,
                  std::string *error)
{
    bool isThere = false;
    if (!destination.Find(&isThere, error))
        return false;
    // A folder that is still to be made will be on the disk of its parent.
    const std::string &path = destination.Path();
    const UniqueFd disk(open((isThere ? path : FolderOf(path)).c_str(),
                             O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    if (!disk || (isThere && !_tree.Open(path))) {
        *error = "cannot use the destination " + TerminalText(path) + ": " + strerror(errno);
        return false;
    }
    const PlanNames names(_planned.plan, LookAtDestination(disk.Get()), _options.RawName());
    *forecast = Forecaster({_planned, _session.Reports(), names, sources, _tree, _sink, disk.Get(),
                            !isThere, !_options.noEmptyFolders})
                    .Run(path);
    forecast->report.image = _options.raw;
    return true;
}

int DryRun::Status(const Forecast &forecast) const
{
    if (!forecast.Fits() && !_options.skipsSpaceCheck)
        return FailWith(kExitUsage, forecast.ShortageText());
    return forecast.report.IsComplete() ? kExitSuccess : kExitIncomplete;
}

}  // namespace vx
