#import "ListCommand.h"

#include "ExitStatus.h"
#include "ObstacleText.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "Unicode.h"
#import "Utf16Text.h"
#import "Z5FindData.h"

#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

std::string DateText(uint64_t fileTime)
{
    return TerminalText(Utf16Text([Z5FindData FormatFileTimeToString:fileTime]));
}

// Wide enough for the date of a long month's name; a longer text only shifts its own row.
size_t WidestDate()
{
    constexpr uint64_t kSeptember302020 = 132459588000000000;  // 17:00 UTC
    return ColumnsOf(DateText(kSeptember302020));
}

// text, then blanks up to the width.
std::string Padded(std::string text, size_t width)
{
    const size_t columns = ColumnsOf(text);
    return columns < width ? text.append(width - columns, ' ') : text;
}

std::string RoundedSize(int64_t size)
{
    Z5FindData *entry = [[[Z5FindData alloc] init] autorelease];
    [entry setFileSize:size];
    return [[entry strFileSize] UTF8String];
}

std::string ShownFolder(const std::u16string &path)
{
    return TerminalText(path.empty() ? std::u16string(u"/") : path);
}

}  // namespace

ListCommand::ListCommand(const VolumeSession &session, const Options &options)
    : _session(session),
      _options(options),
      _choice(options),
      _isTerminal(isatty(STDOUT_FILENO) != 0),
      _dateColumns(WidestDate())
{
}

int ListCommand::Run()
{
    AssertMainThread();
    if (_options.paths.empty())
        ListPath("/");
    for (const std::string &path : _options.paths) {
        if (!IsOutputLost())
            ListPath(path);
    }
    errno = 0;
    fflush(stdout);
    NoteOutput();
    // The reader of the rows ended early.
    if (_outputError == EPIPE)
        return kExitSignalBase + SIGPIPE;
    if (IsOutputLost())
        Fail(std::string("cannot write the list: ") + strerror(_outputError));
    return _hasFailed ? kExitIncomplete : kExitSuccess;
}

void ListCommand::ListPath(const std::string &path)
{
    FolderShelf shelf(_session.Volume(), _session.Reports());
    NamedEntry entry;
    std::string error;
    if (!FindEntry(shelf, path, &entry, &error))
        return Fail(error);
    if (entry.IsFolder())
        ListFolder(entry);
    else
        ListFile(entry);
}

void ListCommand::ListFile(const NamedEntry &entry)
{
    _path = entry.Path();
    ListEntry(entry.way.back());
}

void ListCommand::ListFolder(const NamedEntry &entry)
{
    const std::u16string path = entry.Path();
    std::optional<FolderRecords> folder = Read(path);
    if (!folder) {
        const bool isLink = !entry.way.empty() && IsLink(entry.way.back(), path);
        return Fail(
            (isLink ? "a link to a folder is not followed: " : "this folder cannot be listed: ") +
            ShownFolder(path));
    }
    _path = path;
    ListEntries(std::move(folder->records));
    if (IsOutputLost())
        return;
    if (_options.json && !folder->report.isWhole) {
        printf("%s\n", ListingJson(path, folder->report).c_str());
        NoteOutput();
    }
    NoteListing(folder->report, path);
}

// The parent folders wait on a stack on the heap: a volume may nest folders deeper than the
// thread's stack allows.
void ListCommand::ListEntries(std::vector<FolderRecord> records)
{
    _levels.clear();
    _levels.push_back({_path.size(), std::move(records)});
    while (!_levels.empty() && !IsOutputLost()) {
        Level &level = _levels.back();
        _path.resize(level.pathLength);
        if (level.next == level.records.size()) {
            _levels.pop_back();
            continue;
        }
        const FolderRecord record = std::move(level.records[level.next++]);
        _path.append(u"/").append(record.name);
        if (!_choice.Has(_path, record.IsFolder(), record.size, record.modified))
            continue;
        @autoreleasepool {
            ListEntry(record);
        }
    }
}

void ListCommand::ListEntry(const FolderRecord &record)
{
    ListedEntry entry{record, _path, IsUtf16(record.name), {}, {}, true};
    std::optional<FolderRecords> inside;
    const bool isWanted = _options.recursive && record.IsFolder() && !record.IsSelfOrParent();
    if (isWanted) {
        inside = IsEntered(record) ? Read(_path) : std::nullopt;
        entry.isListable = inside.has_value();
        if (inside)
            entry.listing = inside->report;
        else if (!record.IsLink())
            entry.listing = VolumeListingReport{false};
    }
    Print(entry);
    if (!isWanted || IsOutputLost())
        return;
    if (inside) {
        NoteListing(inside->report, _path);
        _levels.push_back({_path.size(), std::move(inside->records)});
    } else if (!record.IsLink()) {
        Fail("this folder cannot be listed: " + TerminalText(_path));
    }
}

// A reparse point without a tag is one only where the library cannot say more of it.
bool ListCommand::IsLink(const FolderRecord &record, const std::u16string &path) const
{
    VolumeEntryReport report;
    return record.IsLink() &&
           (record.reparseTag != 0 || !_session.Reports().DescribeEntry(path, &report));
}

// As in the catalogue: what that does not enter is not exported either.
bool ListCommand::IsEntered(const FolderRecord &record) const
{
    return !record.name.empty() && IsUtf16(record.name);
}

std::optional<FolderRecords> ListCommand::Read(const std::u16string &path) const
{
    return ReadFolder(_session.Volume(), _session.Reports(), path);
}

void ListCommand::Print(const ListedEntry &entry)
{
    if (_options.json)
        PrintJson(entry);
    else
        PrintRow(entry);
    NoteOutput();
}

void ListCommand::PrintRow(const ListedEntry &entry)
{
    const FolderRecord &record = entry.record;
    char size[32] = "";
    if (!_isTerminal)
        snprintf(size, sizeof(size), "%15" PRId64, record.size);
    else if (!record.IsFolder())
        snprintf(size, sizeof(size), "%s", RoundedSize(record.size).c_str());
    printf("%-6s  %11s  %s  %s\n", TypeName(record), size,
           Padded(DateText(record.modified), _dateColumns).c_str(),
           TerminalText(entry.path).c_str());
}

void ListCommand::PrintJson(ListedEntry entry)
{
    // A library that cannot say more leaves it at what the record says.
    if (!_session.Reports().DescribeEntry(entry.path, &entry.report) && entry.record.IsLink())
        entry.report.obstacle = VolumeObstacle::kLink;
    entry.areAllStreams = _session.Reports().VisitStreams(entry.path, &entry.streams);
    printf("%s\n", EntryJson(entry).c_str());
}

void ListCommand::NoteListing(const VolumeListingReport &report, const std::u16string &path)
{
    if (!report.isWhole || report.recoveredEntries > 0)
        Fail(ListingText(report) + ": " + ShownFolder(path));
}

void ListCommand::NoteOutput()
{
    if (_outputError == 0 && ferror(stdout) != 0)
        _outputError = errno != 0 ? errno : EIO;
}

// Rows come first, so that messages stand where they belong.
void ListCommand::Fail(const std::string &message)
{
    _hasFailed = true;
    fflush(stdout);
    NoteOutput();
    fprintf(stderr, "volume-export: %s\n", message.c_str());
}

}  // namespace vx
