#include "ExportReport.h"

#include "NumberText.h"
#include "ObstacleText.h"
#include "PlanText.h"
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

// The path of another file in the same folder.
std::string PathBeside(const std::string &path, const std::string &name)
{
    return path.substr(0, path.rfind('/') + 1) + name;
}

class Printer {
public:
    Printer(const ExportReport &report, const ExportPlan &plan, bool verbose, FILE *stream)
        : _report(report), _plan(plan), _verbose(verbose), _stream(stream)
    {
    }

    void PrintArrived() const;
    void PrintImage() const;
    void PrintExceptions(const Words &words) const;
    void PrintDisk() const;
    void PrintStopped() const;

private:
    using Number = ExportReport::Number;

    const std::string *DamagedCopy() const;
    void PrintEarlier() const;
    void PrintRenamed(const Words &words) const;
    void PrintLinks() const;
    void PrintFailures(const Words &words) const;
    void PrintCounted(const Words &words) const;
    void PrintNames(const std::vector<Number> &entries, const char *indent) const;
    void PrintCountedFiles(const char *what, const std::vector<Number> &files, bool names) const;

    const ExportReport &_report;
    const ExportPlan &_plan;
    const bool _verbose;
    FILE *const _stream;
};

void Printer::PrintArrived() const
{
    fprintf(_stream, "Exported %s, %s, to %s in %.1f s", FilesText(_report.arrivedFiles).c_str(),
            ExactSizeText(_report.arrivedBytes).c_str(), TerminalText(_report.destination).c_str(),
            _report.copySeconds);
    // A shorter time gives no meaningful speed.
    if (_report.copySeconds >= 0.1)
        fprintf(_stream, " (%s)", SpeedText(_report.arrivedBytes, _report.copySeconds).c_str());
    fprintf(_stream, ".\n");
    PrintEarlier();
    if (_report.isVerified && _report.arrivedFiles + _report.earlierFiles > _report.unhashedFiles)
        fprintf(_stream, "Read again from the destination and compared in %.1f s: equal.\n",
                _report.checkSeconds);
}

// A damaged copy is named with the failure that it is.
void Printer::PrintImage() const
{
    const std::string image = TerminalText(_report.image);
    if (_report.arrivedFiles > 0)
        fprintf(_stream, "Wrote the volume, %s, to %s in %.1f s (%s).\n",
                ExactSizeText(_report.arrivedBytes).c_str(), image.c_str(), _report.copySeconds,
                SpeedText(_report.arrivedBytes, _report.copySeconds).c_str());
    else if (const std::string *copy = DamagedCopy())
        fprintf(_stream, "Wrote the volume to %s; it is not whole.\n",
                TerminalText(PathBeside(_report.image, *copy)).c_str());
    if (!_report.imageHash.empty())
        fprintf(_stream, "SHA-256: %s\n", _report.imageHash.c_str());
    if (_report.isVerified && _report.arrivedFiles > 0)
        fprintf(_stream, "Read again from its disk and compared in %.1f s: equal.\n",
                _report.checkSeconds);
}

// Of a volume of which not all could be read; null if there is none.
const std::string *Printer::DamagedCopy() const
{
    for (const ExportReport::Failure &failure : _report.failures) {
        if (!failure.copy.empty())
            return &failure.copy;
    }
    return nullptr;
}

void Printer::PrintEarlier() const
{
    if (_report.earlierFiles > 0)
        fprintf(_stream, "%s, %s, %s there already.\n", FilesText(_report.earlierFiles).c_str(),
                ExactSizeText(_report.earlierBytes).c_str(),
                _report.earlierFiles == 1 ? "was" : "were");
    if (_report.unhashedFiles > 0)
        fprintf(_stream, "Not read again: %s there already, since no hash list was kept.\n",
                CountText(_report.unhashedFiles, "file that was", "files that were").c_str());
}

void Printer::PrintNames(const std::vector<Number> &entries, const char *indent) const
{
    for (const Number entry : entries)
        fprintf(_stream, "%s%s\n", indent, ShownPathOf(_plan, entry).c_str());
}

void Printer::PrintCountedFiles(const char *what, const std::vector<Number> &files,
                                bool names) const
{
    if (files.empty())
        return;
    fprintf(_stream, "%s: %s%s\n", what, FilesText(CountOf(files.size())).c_str(),
            EndOfCount(files.size(), names));
    if (names)
        PrintNames(files, "  ");
}

void Printer::PrintStopped() const
{
    if (_report.stop == ExportReport::Stop::kNone)
        return;
    fputs(TextOfStop(_report.stop), _stream);
    // The disk cannot be listed again for a comparison.
    PrintCountedFiles("Arrived", _report.arrived, true);
    for (const ExportReport::Failure &unfinished : _report.unfinished)
        fprintf(_stream, "Not kept, since it is incomplete: %s: %s\n",
                ShownPathOf(_plan, unfinished.entry).c_str(), unfinished.reason.c_str());
    PrintCountedFiles("Not copied", _report.notCopied, _verbose);
    PrintCountedFiles("Copied, but not checked", _report.notChecked, _verbose);
}

void Printer::PrintRenamed(const Words &words) const
{
    if (_report.renamed.empty())
        return;
    const size_t count = _report.renamed.size();
    const size_t shown = _verbose ? count : std::min(count, kFewRenamed);
    fprintf(_stream, "%s: %s%s\n", words.renamed, FilesText(CountOf(count)).c_str(),
            shown < count ? " (--verbose names them all)" : "");
    for (size_t i = 0; i < shown; ++i)
        fprintf(_stream, "  %s: as %s\n", ShownPathOf(_plan, _report.renamed[i].entry).c_str(),
                TerminalText(_report.renamed[i].copy).c_str());
}

void Printer::PrintLinks() const
{
    if (_report.links.empty())
        return;
    fprintf(_stream, "Links not followed: %s (to a folder, to nothing, or out of the volume%s\n",
            GroupedText(CountOf(_report.links.size())).c_str(),
            _verbose ? "):" : "; --verbose names them)");
    if (_verbose)
        PrintNames(_report.links, "  ");
}

void Printer::PrintCounted(const Words &words) const
{
    for (const auto &[kind, entries] : _report.counted) {
        fprintf(_stream, "  %s%s\n",
                CountedText(kind.first, kind.second, CountOf(entries.size())).c_str(),
                EndOfCount(entries.size(), _verbose));
        if (_verbose)
            PrintNames(entries, "    ");
    }
    if (_report.damagedFolders > 0)
        fprintf(_stream, "  %s damaged: what could be read of %s %s\n",
                CountText(_report.damagedFolders, "folder is", "folders are").c_str(),
                _report.damagedFolders == 1 ? "it" : "them", words.exported);
}

void Printer::PrintFailures(const Words &words) const
{
    size_t count = _report.failures.size() + _report.errors.size();
    for (const auto &kind : _report.counted)
        count += kind.second.size();
    if (count == 0)
        return;
    fprintf(_stream, "%s: %s\n", words.failed, GroupedText(CountOf(count)).c_str());
    PrintCounted(words);
    for (const std::string &error : _report.errors)
        fprintf(_stream, "  %s\n", error.c_str());
    for (const ExportReport::Failure &failure : _report.failures)
        fprintf(_stream, "  %s: %s\n", ShownPathOf(_plan, failure.entry).c_str(),
                failure.reason.c_str());
}

void Printer::PrintExceptions(const Words &words) const
{
    PrintRenamed(words);
    PrintLinks();
    PrintFailures(words);
}

void Printer::PrintDisk() const
{
    if (_report.undated > 0)
        fprintf(_stream, "Dates not set: %s; the first is %s: %s\n",
                CountText(_report.undated, "file or folder", "files and folders").c_str(),
                _report.firstUndated.c_str(), _report.undatedReason.c_str());
    if (!_report.syncError.empty())
        fprintf(
            _stream,
            "Not everything could be written to the disk of %s: %s; do not rely on the copies\n",
            TerminalText(_report.destination).c_str(), _report.syncError.c_str());
}

}  // namespace

bool ExportReport::IsComplete() const
{
    return failures.empty() && counted.empty() && errors.empty() && undated == 0 &&
           syncError.empty() && stop == Stop::kNone;
}

void PrintReport(const ExportReport &report, const ExportPlan &plan, bool verbose, FILE *stream)
{
    const Printer printer(report, plan, verbose, stream);
    if (report.image.empty())
        printer.PrintArrived();
    else
        printer.PrintImage();
    printer.PrintExceptions(kHappened);
    printer.PrintDisk();
    printer.PrintStopped();
}

void PrintExpected(const ExportReport &report, const ExportPlan &plan, bool verbose, FILE *stream)
{
    Printer(report, plan, verbose, stream).PrintExceptions(kExpected);
}

}  // namespace vx
