#include "ExportReport.h"

#include "NumberText.h"
#include "TerminalText.h"

namespace vx {
namespace {

// "1.2 GiB (1,288,490,188 bytes)"; small sizes are exact as they are.
std::string BothSizes(int64_t bytes)
{
    if (bytes < 1024)
        return SizeText(bytes);
    return SizeText(bytes) + " (" + GroupedText(bytes) + " bytes)";
}

std::string FilesText(int64_t count)
{
    return CountText(count, "file", "files");
}

void PrintArrived(const ExportReport &report, FILE *stream)
{
    fprintf(stream, "Exported %s, %s, to %s in %.1f s", FilesText(report.arrivedFiles).c_str(),
            BothSizes(report.arrivedBytes).c_str(), TerminalText(report.destination).c_str(),
            report.copySeconds);
    // The speed of an instant says nothing.
    if (report.copySeconds >= 0.1)
        fprintf(stream, " (%s)", SpeedText(report.arrivedBytes, report.copySeconds).c_str());
    fprintf(stream, ".\n");
    if (report.isVerified && report.arrivedFiles > 0)
        fprintf(stream, "Read again and compared in %.1f s: equal.\n", report.checkSeconds);
}

void PrintStopped(const ExportReport &report, FILE *stream)
{
    if (!report.wasStopped)
        return;
    fprintf(stream, "Stopped before the end; what is complete stays.\n");
    for (const ExportReport::Failure &partial : report.partial)
        fprintf(stream, "Partly copied: %s: %s\n", partial.path.c_str(), partial.reason.c_str());
    if (report.notCopiedFiles > 0)
        fprintf(stream, "Not copied: %s\n", FilesText(report.notCopiedFiles).c_str());
    if (report.notCheckedFiles > 0)
        fprintf(stream, "Copied, but not checked: %s\n", FilesText(report.notCheckedFiles).c_str());
}

void PrintLinks(const ExportReport &report, bool namesLinks, FILE *stream)
{
    if (report.links.empty())
        return;
    fprintf(stream, "Links not followed: %s (to a folder, to nothing, or out of the volume%s\n",
            GroupedText(static_cast<int64_t>(report.links.size())).c_str(),
            namesLinks ? "):" : "; --verbose names them)");
    if (!namesLinks)
        return;
    for (const std::string &link : report.links)
        fprintf(stream, "  %s\n", link.c_str());
}

void PrintFailures(const ExportReport &report, FILE *stream)
{
    if (report.failures.empty())
        return;
    fprintf(stream, "Failed: %s\n",
            GroupedText(static_cast<int64_t>(report.failures.size())).c_str());
    for (const ExportReport::Failure &failure : report.failures)
        fprintf(stream, "  %s: %s\n", failure.path.c_str(), failure.reason.c_str());
}

}  // namespace

bool ExportReport::IsComplete() const
{
    return failures.empty() && partial.empty() && notCopiedFiles == 0 && notCheckedFiles == 0;
}

void PrintReport(const ExportReport &report, bool namesLinks, FILE *stream)
{
    PrintArrived(report, stream);
    PrintLinks(report, namesLinks, stream);
    PrintFailures(report, stream);
    PrintStopped(report, stream);
}

}  // namespace vx
