#include "ExportReport.h"

#include "NumberText.h"
#include "ObstacleText.h"
#include "TerminalText.h"

#include <algorithm>

namespace vx {
namespace {

// Names of copies that are shown without --verbose.
constexpr size_t kFewRenamed = 20;

// Of what has happened, or would.
struct Words {
    const char *renamed;
    const char *failed;
    const char *exported;
};
constexpr Words kHappened = {"Arrived under another name", "Failed", "was exported"};
constexpr Words kExpected = {"Would arrive under another name", "Would fail", "would be exported"};

int64_t CountOf(size_t count)
{
    return static_cast<int64_t>(count);
}

std::string FilesText(int64_t count)
{
    return CountText(count, "file", "files");
}

void PrintArrived(const ExportReport &report, FILE *stream)
{
    fprintf(stream, "Exported %s, %s, to %s in %.1f s", FilesText(report.arrivedFiles).c_str(),
            ExactSizeText(report.arrivedBytes).c_str(), TerminalText(report.destination).c_str(),
            report.copySeconds);
    // A shorter time gives no meaningful speed.
    if (report.copySeconds >= 0.1)
        fprintf(stream, " (%s)", SpeedText(report.arrivedBytes, report.copySeconds).c_str());
    fprintf(stream, ".\n");
    if (report.isVerified && report.arrivedFiles > 0)
        fprintf(stream, "Read again and compared in %.1f s: equal.\n", report.checkSeconds);
}

const char *TextOfStop(ExportReport::Stop stop)
{
    switch (stop) {
    case ExportReport::Stop::kDiskFull:
        return "Stopped, since the disk is full; complete files were kept.\n";
    case ExportReport::Stop::kDiskGone:
        return "Stopped, since the disk is gone; what had arrived was kept.\n";
    default:
        return "Stopped before the end; complete files were kept.\n";
    }
}

// Follows a count of entries that only --verbose names.
const char *EndOfCount(size_t count, bool verbose)
{
    if (verbose)
        return ":";
    return count == 1 ? " (--verbose names it)" : " (--verbose names them)";
}

void PrintCountedFiles(const char *what, const std::vector<std::string> &paths, bool verbose,
                       FILE *stream)
{
    if (paths.empty())
        return;
    fprintf(stream, "%s: %s%s\n", what, FilesText(CountOf(paths.size())).c_str(),
            EndOfCount(paths.size(), verbose));
    if (!verbose)
        return;
    for (const std::string &path : paths)
        fprintf(stream, "  %s\n", path.c_str());
}

void PrintStopped(const ExportReport &report, bool verbose, FILE *stream)
{
    if (report.stop == ExportReport::Stop::kNone)
        return;
    fputs(TextOfStop(report.stop), stream);
    // The disk cannot be listed again for a comparison.
    PrintCountedFiles("Arrived", report.arrived, true, stream);
    for (const ExportReport::Failure &unfinished : report.unfinished)
        fprintf(stream, "Not kept, since it is incomplete: %s: %s\n", unfinished.path.c_str(),
                unfinished.reason.c_str());
    PrintCountedFiles("Not copied", report.notCopied, verbose, stream);
    PrintCountedFiles("Copied, but not checked", report.notChecked, verbose, stream);
}

void PrintRenamed(const ExportReport &report, const Words &words, bool verbose, FILE *stream)
{
    if (report.renamed.empty())
        return;
    const size_t count = report.renamed.size();
    const size_t shown = verbose ? count : std::min(count, kFewRenamed);
    fprintf(stream, "%s: %s%s\n", words.renamed, FilesText(CountOf(count)).c_str(),
            shown < count ? " (--verbose names them all)" : "");
    for (size_t i = 0; i < shown; ++i)
        fprintf(stream, "  %s: as %s\n", report.renamed[i].path.c_str(),
                report.renamed[i].copy.c_str());
}

void PrintLinks(const ExportReport &report, bool verbose, FILE *stream)
{
    if (report.links.empty())
        return;
    fprintf(stream, "Links not followed: %s (to a folder, to nothing, or out of the volume%s\n",
            GroupedText(CountOf(report.links.size())).c_str(),
            verbose ? "):" : "; --verbose names them)");
    if (!verbose)
        return;
    for (const std::string &link : report.links)
        fprintf(stream, "  %s\n", link.c_str());
}

void PrintCounted(const ExportReport &report, const Words &words, bool verbose, FILE *stream)
{
    for (const auto &kind : report.counted) {
        const std::vector<std::string> &paths = kind.second;
        fprintf(stream, "  %s%s\n",
                CountedText(kind.first.first, kind.first.second, CountOf(paths.size())).c_str(),
                EndOfCount(paths.size(), verbose));
        if (!verbose)
            continue;
        for (const std::string &path : paths)
            fprintf(stream, "    %s\n", path.c_str());
    }
    if (report.damagedFolders > 0)
        fprintf(stream, "  %s damaged: what could be read of %s %s\n",
                CountText(report.damagedFolders, "folder is", "folders are").c_str(),
                report.damagedFolders == 1 ? "it" : "them", words.exported);
}

void PrintFailures(const ExportReport &report, const Words &words, bool verbose, FILE *stream)
{
    size_t count = report.failures.size();
    for (const auto &kind : report.counted)
        count += kind.second.size();
    if (count == 0)
        return;
    fprintf(stream, "%s: %s\n", words.failed, GroupedText(CountOf(count)).c_str());
    PrintCounted(report, words, verbose, stream);
    for (const ExportReport::Failure &failure : report.failures)
        fprintf(stream, "  %s: %s\n", failure.path.c_str(), failure.reason.c_str());
}

void PrintDisk(const ExportReport &report, FILE *stream)
{
    if (report.undated > 0)
        fprintf(stream, "Dates not set: %s; the first is %s: %s\n",
                CountText(report.undated, "file or folder", "files and folders").c_str(),
                report.firstUndated.c_str(), report.undatedReason.c_str());
    if (!report.syncError.empty())
        fprintf(
            stream,
            "Not everything could be written to the disk of %s: %s; do not rely on the copies\n",
            TerminalText(report.destination).c_str(), report.syncError.c_str());
}

void PrintExceptions(const ExportReport &report, const Words &words, bool verbose, FILE *stream)
{
    PrintRenamed(report, words, verbose, stream);
    PrintLinks(report, verbose, stream);
    PrintFailures(report, words, verbose, stream);
}

}  // namespace

bool ExportReport::IsComplete() const
{
    return failures.empty() && counted.empty() && undated == 0 && syncError.empty() &&
           stop == Stop::kNone;
}

void PrintReport(const ExportReport &report, bool verbose, FILE *stream)
{
    PrintArrived(report, stream);
    PrintExceptions(report, kHappened, verbose, stream);
    PrintDisk(report, stream);
    PrintStopped(report, verbose, stream);
}

void PrintExpected(const ExportReport &report, bool verbose, FILE *stream)
{
    PrintExceptions(report, kExpected, verbose, stream);
}

}  // namespace vx
