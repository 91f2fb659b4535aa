#include "ReportFile.h"

#include "IsoTime.h"
#include "JsonWriter.h"
#include "ObstacleText.h"
#include "ReplacementFile.h"
#include "TerminalText.h"

#include <chrono>
#include <cstring>
#include <fstream>
#include <optional>

namespace vx {
namespace {

using Number = ExportPlan::Number;

constexpr int64_t kSecondsTo1970 = 11644473600;
constexpr int64_t kUnitsPerSecond = 10000000;
constexpr int kSignalBase = 128;

const char *NameOf(FailureKind kind)
{
    switch (kind) {
    case FailureKind::kDestination:
        return "destination";
    case FailureKind::kName:
        return "name";
    case FailureKind::kMemory:
        return "memory";
    case FailureKind::kUnread:
        return "unread";
    case FailureKind::kDamaged:
        return "damaged";
    case FailureKind::kUnopened:
        return "not-opened";
    case FailureKind::kFolder:
        return "folder";
    case FailureKind::kLink:
        return "link";
    case FailureKind::kNotCopied:
        return "not-copied";
    case FailureKind::kDiffers:
        break;
    }
    return "differs";
}

class ReportWriter {
public:
    ReportWriter(const ReportFacts &facts, JsonWriter::Output output)
        : _facts(facts), _report(facts.report), _json(std::move(output))
    {
    }

    void Write();

private:
    void WriteOpened();
    void WriteOptions();
    void WriteEnd();
    void WriteCounts();
    void WriteFailures();
    void WriteFailure(const ExportReport::Failure &failure);
    void WriteRenamed();
    void WritePaths(const char *name, const std::vector<Number> &entries);
    void WriteTexts(const char *name, const std::vector<std::string> &texts);
    void WriteText(const char *name, const std::string &text);
    void WriteNumber(const char *name, int64_t number);
    void WriteTruth(const char *name, bool truth);
    template <typename Value>
    void WriteOptional(const char *name, const std::optional<Value> &value);
    void WritePath(Number entry);
    int64_t Damaged() const;
    int64_t Folders() const;

    const ReportFacts &_facts;
    const ExportReport &_report;
    JsonWriter _json;
};

void ReportWriter::Write()
{
    _json.BeginObject();
    WriteNumber("format", 1);
    WriteText("program", "volume-export");
    WriteText("version", VX_VERSION);
    WriteText("start", IsoTime(_facts.start));
    WriteText("end", IsoTime(_facts.end));
    WriteOpened();
    WriteText("destination",
              _report.destination.empty() ? _facts.options.destination : _report.destination);
    WriteOptions();
    WriteEnd();
    WriteCounts();
    WriteTexts("errors", _report.errors);
    WriteFailures();
    WriteRenamed();
    WritePaths("linksNotFollowed", _report.links);
    WritePaths("notCopied", _report.notCopied);
    WritePaths("notChecked", _report.notChecked);
    _json.EndObject();
}

void ReportWriter::WriteOpened()
{
    _json.Name("opened");
    _json.BeginObject();
    WriteText("volume", _facts.options.volume);
    WriteText("unlock", _facts.options.unlocking.kind);
    WriteTexts("warnings", _facts.warnings);
    _json.EndObject();
}

void ReportWriter::WriteOptions()
{
    const Options &options = _facts.options;
    _json.Name("options");
    _json.BeginObject();
    WriteTexts("paths", options.paths);
    _json.Name("rules");
    _json.BeginArray();
    for (const ChoiceRule &rule : options.rules)
        _json.Text(std::string(rule.includes ? "+ " : "- ") + rule.pattern);
    _json.EndArray();
    WriteOptional("minSize", options.minSize);
    WriteOptional("maxSize", options.maxSize);
    WriteText("newer", options.newer ? IsoTime(*options.newer) : "");
    WriteText("older", options.older ? IsoTime(*options.older) : "");
    WriteText("raw", options.raw);
    WriteTruth("streams", options.streams);
    WriteTruth("times", !options.noTimes);
    WriteTruth("emptyFolders", !options.noEmptyFolders);
    WriteTruth("verify", options.verify);
    WriteTruth("resume", options.resume);
    WriteTruth("sync", options.sync);
    WriteText("manifest", options.manifest);
    WriteText("map", options.map);
    WriteText("writeMap", options.writeMap);
    WriteOptional("retries", options.retries);
    WriteOptional("skipSlowMilliseconds", options.skipSlow);
    _json.EndObject();
}

void ReportWriter::WriteEnd()
{
    WriteNumber("status", _facts.status);
    switch (_report.stop) {
    case ExportReport::Stop::kNone:
        WriteText("stoppedBy", "");
        break;
    case ExportReport::Stop::kSignal:
        WriteText("stoppedBy", "signal");
        break;
    case ExportReport::Stop::kDiskFull:
        WriteText("stoppedBy", "disk-full");
        break;
    case ExportReport::Stop::kDiskGone:
        WriteText("stoppedBy", "disk-gone");
        break;
    }
    _json.Name("signal");
    if (_facts.status > kSignalBase)
        _json.Number(_facts.status - kSignalBase);
    else
        _json.Null();
    WriteTruth("isVerified", _report.isVerified);
    WriteText("syncError", _report.syncError);
    WriteText("sha256", _report.imageHash);
}

void ReportWriter::WriteCounts()
{
    int64_t counted = 0;
    for (const auto &kind : _report.counted)
        counted += static_cast<int64_t>(kind.second.size());
    _json.Name("counts");
    _json.BeginObject();
    WriteNumber("plannedFiles", _facts.planned.files);
    WriteNumber("plannedBytes", _facts.planned.bytes);
    WriteNumber("plannedFolders", Folders());
    WriteNumber("files", _report.arrivedFiles);
    WriteNumber("bytes", _report.arrivedBytes);
    WriteNumber("filesThereAlready", _report.earlierFiles);
    WriteNumber("bytesThereAlready", _report.earlierBytes);
    WriteNumber("failures", static_cast<int64_t>(_report.failures.size()) + counted);
    WriteNumber("damagedCopies", Damaged());
    WriteNumber("damagedFolders", _report.damagedFolders);
    WriteNumber("renamed", static_cast<int64_t>(_report.renamed.size()));
    WriteNumber("linksNotFollowed", static_cast<int64_t>(_report.links.size()));
    WriteNumber("notCopied", static_cast<int64_t>(_report.notCopied.size()));
    WriteNumber("unfinished", static_cast<int64_t>(_report.unfinished.size()));
    WriteNumber("notChecked", static_cast<int64_t>(_report.notChecked.size()));
    WriteNumber("datesNotSet", _report.undated);
    _json.EndObject();
}

int64_t ReportWriter::Damaged() const
{
    int64_t count = 0;
    for (const ExportReport::Failure &failure : _report.failures)
        count += failure.kind == FailureKind::kUnread || failure.kind == FailureKind::kDamaged;
    return count;
}

// Without the root.
int64_t ReportWriter::Folders() const
{
    int64_t count = -1;
    for (Number entry = 0; entry < _facts.planned.plan.Size(); ++entry)
        count += _facts.planned.plan.At(entry).IsFolder() ? 1 : 0;
    return count;
}

void ReportWriter::WriteFailures()
{
    _json.Name("failures");
    _json.BeginArray();
    for (const auto &[kind, entries] : _report.counted) {
        // "1 file is only in the cloud" → "this file ..."
        const std::string reason = "this" + CountedText(kind.first, kind.second, 1).substr(1);
        for (const Number entry : entries)
            WriteFailure({entry, FailureKind::kUnopened, kind.first, reason, "", {}});
    }
    for (const ExportReport::Failure &failure : _report.failures)
        WriteFailure(failure);
    for (const ExportReport::Failure &failure : _report.unfinished)
        WriteFailure(failure);
    _json.EndArray();
}

void ReportWriter::WriteFailure(const ExportReport::Failure &failure)
{
    _json.BeginObject();
    WritePath(failure.entry);
    WriteText("kind", NameOf(failure.kind));
    _json.Name("obstacle");
    if (ObstacleName(failure.obstacle) != nullptr)
        _json.Text(std::string_view(ObstacleName(failure.obstacle)));
    else
        _json.Null();
    WriteText("reason", failure.reason);
    WriteText("copy", failure.copy);
    _json.Name("unread");
    _json.BeginArray();
    for (const ByteRange &range : failure.unread) {
        _json.BeginObject();
        WriteNumber("offset", static_cast<int64_t>(range.offset));
        WriteNumber("length", static_cast<int64_t>(range.length));
        _json.EndObject();
    }
    _json.EndArray();
    _json.EndObject();
}

void ReportWriter::WriteRenamed()
{
    _json.Name("renamed");
    _json.BeginArray();
    for (const ExportReport::Renamed &renamed : _report.renamed) {
        _json.BeginObject();
        WritePath(renamed.entry);
        WriteText("copy", renamed.copy);
        _json.EndObject();
    }
    _json.EndArray();
}

void ReportWriter::WritePath(Number entry)
{
    const std::u16string path = _facts.planned.plan.PathOf(entry);
    _json.Name("path");
    _json.Text(path.empty() ? std::u16string_view(u"/") : std::u16string_view(path));
}

void ReportWriter::WritePaths(const char *name, const std::vector<Number> &entries)
{
    _json.Name(name);
    _json.BeginArray();
    for (const Number entry : entries)
        _json.Text(_facts.planned.plan.PathOf(entry));
    _json.EndArray();
}

void ReportWriter::WriteTexts(const char *name, const std::vector<std::string> &texts)
{
    _json.Name(name);
    _json.BeginArray();
    for (const std::string &text : texts)
        _json.Text(text);
    _json.EndArray();
}

// Empty: null.
void ReportWriter::WriteText(const char *name, const std::string &text)
{
    _json.Name(name);
    if (text.empty())
        _json.Null();
    else
        _json.Text(text);
}

void ReportWriter::WriteNumber(const char *name, int64_t number)
{
    _json.Name(name);
    _json.Number(number);
}

void ReportWriter::WriteTruth(const char *name, bool truth)
{
    _json.Name(name);
    _json.Truth(truth);
}

template <typename Value>
void ReportWriter::WriteOptional(const char *name, const std::optional<Value> &value)
{
    _json.Name(name);
    if (value)
        _json.Number(static_cast<int64_t>(*value));
    else
        _json.Null();
}

}  // namespace

uint64_t FileTimeNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const int64_t microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    return static_cast<uint64_t>(kSecondsTo1970 * kUnitsPerSecond + microseconds * 10);
}

bool MayBecomeReport(const std::string &path)
{
    constexpr size_t kHeadBytes = 100;
    std::ifstream file(path, std::ios::binary);
    std::string head(kHeadBytes, '\0');
    file.read(&head[0], kHeadBytes);
    head.resize(static_cast<size_t>(file.gcount()));
    return head.empty() || head.find("\"program\": \"volume-export\"") != std::string::npos;
}

bool WriteReportFile(const std::string &file, const ReportFacts &facts, std::string *error)
{
    ReplacementFile replacement(file);
    bool done = replacement.Create();
    if (done) {
        ReportWriter(facts, [&](std::string_view text) { replacement.Write(text); }).Write();
        done = replacement.Deliver();
    }
    if (!done)
        *error =
            "cannot write the report " + TerminalText(file) + ": " + strerror(replacement.Error());
    return done;
}

}  // namespace vx
