#import "ListCommand.h"

#import "CatalogueWalk.h"
#import "EntryText.h"
#include "ExitStatus.h"
#include "JsonText.h"
#include "TerminalText.h"
#import "Utf16Text.h"
#import "VolumeSelection.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace vx {
namespace {

// Wide enough for the date of a long month's name; a longer text only shifts its own row.
size_t WidestDate()
{
    constexpr uint64_t kSeptember302020 = 132459588000000000;  // 23:00 UTC
    return ColumnsOf(TerminalText(Utf16Text([Z5FindData FormatFileTimeToString:kSeptember302020])));
}

// text, then blanks up to the width.
std::string Padded(std::string text, size_t width)
{
    const size_t columns = ColumnsOf(text);
    return columns < width ? text.append(width - columns, ' ') : text;
}

}  // namespace

ListCommand::ListCommand(const VolumeSession &session, const Options &options)
    : _session(session),
      _options(options),
      _isTerminal(isatty(STDOUT_FILENO) != 0),
      _dateColumns(WidestDate())
{
}

int ListCommand::Run()
{
    if (_options.paths.empty())
        ListPath("/");
    for (const std::string &path : _options.paths)
        ListPath(path);
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        Fail(std::string("cannot write the list: ") + strerror(errno));
    return _hasFailed ? kExitIncomplete : kExitSuccess;
}

void ListCommand::ListPath(const std::string &path)
{
    Z5FileExplorerWapper *explorer = _session.Explorer();
    Z5FindData *entry = nil;
    std::string error;
    if (!FindEntry(explorer, path, &entry, &error))
        return Fail(error);
    if (entry == nil)
        return ListEntries([explorer rootDirectory]);
    if (![entry bDirectory])
        return ListEntries([NSArray arrayWithObject:entry]);
    NSArray *children = [explorer findFiles:entry];
    if (children != nil)
        return ListEntries(children);
    const bool isLink = _session.Volume().IsLink(VolumePathOf(entry));
    Fail((isLink ? "a link to a folder is not followed: " : "this folder cannot be listed: ") +
         ShownPathOf(entry));
}

void ListCommand::ListEntries(NSArray *entries)
{
    if (!_options.recursive) {
        for (Z5FindData *entry in entries)
            PrintEntry(entry);
        return;
    }
    WalkCatalogue(_session.Explorer(), entries, [this](Z5FindData *entry, bool isUnlistable) {
        PrintEntry(entry);
        if (isUnlistable && !_session.Volume().IsLink(VolumePathOf(entry)))
            Fail("this folder cannot be listed: " + ShownPathOf(entry));
    });
}

void ListCommand::PrintEntry(Z5FindData *entry) const
{
    @autoreleasepool {
        if (_options.json)
            PrintJson(entry);
        else
            PrintRow(entry);
    }
}

void ListCommand::PrintRow(Z5FindData *entry) const
{
    char size[32] = "";
    if (!_isTerminal)
        snprintf(size, sizeof(size), "%15" PRId64, [entry nFileSize]);
    else if (![entry bDirectory])
        snprintf(size, sizeof(size), "%s", [[entry strFileSize] UTF8String]);
    const std::string date = TerminalText(Utf16Text([entry strModifiedDateTime]));
    printf("%-6s  %11s  %s  %s\n", TypeOf(entry), size, Padded(date, _dateColumns).c_str(),
           ShownPathOf(entry).c_str());
}

void ListCommand::PrintJson(Z5FindData *entry) const
{
    printf("{\"type\":\"%s\",\"path\":%s,\"size\":%" PRId64 ",\"modified\":%s}\n", TypeOf(entry),
           JsonText(VolumePathOf(entry)).c_str(), [entry nFileSize],
           JsonText(Utf16Text([entry strModifiedDateTime])).c_str());
}

const char *ListCommand::TypeOf(Z5FindData *entry) const
{
    if (_session.Volume().IsLink(VolumePathOf(entry)))
        return "link";
    return [entry bDirectory] ? "folder" : "file";
}

// Rows come first, so that messages stand where they belong.
void ListCommand::Fail(const std::string &message)
{
    _hasFailed = true;
    fflush(stdout);
    fprintf(stderr, "volume-export: %s\n", message.c_str());
}

}  // namespace vx
