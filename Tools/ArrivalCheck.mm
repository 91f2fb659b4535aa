#import "ArrivalCheck.h"

#import "CatalogueWalk.h"
#import "EntryText.h"
#import "ExportPath.h"
#include "StopRequest.h"
#include "TerminalText.h"

#include <utility>

namespace vx {
namespace {

NSString *LocalPathOf(Z5FindData *entry)
{
    return LocalPathFromVolumePath([Z5FileExplorerWapper fullPath:entry withfilter:nil]);
}

// The reason, with what may explain it.
std::string Explained(const std::string &reason, Z5FindData *entry)
{
    NSCharacterSet *separators = [NSCharacterSet characterSetWithCharactersInString:@"\\/"];
    if (reason.empty() || [[entry strFileName] rangeOfCharacterFromSet:separators].length == 0)
        return reason;
    return reason + " (its name holds \"\\\" or \"/\", which separates folders here)";
}

}  // namespace

ArrivalCheck::ArrivalCheck(const VolumeSession &session, NSArray *selected, Settings settings,
                           ProgressLine &line, ExportReport *report)
    : _session(session),
      _selected(selected),
      _settings(std::move(settings)),
      _line(line),
      _report(*report)
{
}

void ArrivalCheck::CheckFolders()
{
    WalkCatalogue(_session.Explorer(), _selected, [this](Z5FindData *entry, bool isUnlistable) {
        if (isUnlistable)
            NoteUnopened(entry, "this folder cannot be listed");
    });
}

void ArrivalCheck::CheckFiles(NSArray *plan, NSUInteger count)
{
    for (NSUInteger i = 0; i < count; ++i) {
        if (WasStopped()) {
            _report.notCheckedFiles += static_cast<int64_t>(count - i);
            return;
        }
        @autoreleasepool {
            CheckFile([plan objectAtIndex:i], _report.wasStopped && i + 1 == count);
        }
    }
}

void ArrivalCheck::CheckFile(Z5FindData *entry, bool mayBePartial)
{
    const std::u16string path = VolumePathOf(entry);
    _current = ShownPathOf(entry);
    if (path.empty())
        return NoteUnopened(entry, "its name is no valid text");
    if (!_checked.insert(path).second)
        return;
    if (PathClimbs(LocalPathOf(entry)))
        return NoteUnopened(entry, "its path would lead out of the destination");
    Z5BitLockerFile *file =
        [[[Z5BitLockerFile alloc] initWithFile:[Z5FileExplorerWapper fullPath:entry withfilter:nil]
                                        andVol:[_session.Explorer() getVolObject]] autorelease];
    if (file == nil)
        return NoteUnopened(entry, "the volume cannot open it");
    CheckCopy(entry, file, mayBePartial);
}

void ArrivalCheck::CheckCopy(Z5FindData *entry, Z5BitLockerFile *file, bool mayBePartial)
{
    const char *local = [LocalPathOf(entry) UTF8String];
    FileIdentity identity = {0, 0};
    const std::string reason =
        local == nullptr
            ? "its name cannot be written on this machine"
            : ReasonForCopy(VolumePathOf(entry), file, _settings.destination + local, &identity);
    if (reason.empty() && WasStopped())
        ++_report.notCheckedFiles;
    else if (reason.empty())
        AddArrived(identity, entry, [file getFileSize]);
    else
        (mayBePartial ? _report.partial : _report.failures)
            .push_back({_current, Explained(reason, entry)});
}

std::string ArrivalCheck::ReasonForCopy(const std::u16string &path, Z5BitLockerFile *file,
                                        const std::string &copy, FileIdentity *identity)
{
    const int64_t size = [file getFileSize];
    std::string reason = ReasonNotArrived(copy, size, _settings.started, identity);
    if (!reason.empty())
        return reason;
    if (_session.Volume().ReadFailed(path))
        return "the volume could not read all of it; the copy is damaged";
    const auto advance = [this](int64_t bytes) { return Advance(bytes); };
    if (_settings.verifies)
        return _comparison.Difference(file, size, copy, advance);
    advance(size);
    return "";
}

// A link leads to a folder, to nothing or out of the volume; it is missed only if it was named.
void ArrivalCheck::NoteUnopened(Z5FindData *entry, const char *reason)
{
    const bool isNamed = [_selected indexOfObjectIdenticalTo:entry] != NSNotFound &&
                         _selected != [_session.Explorer() rootDirectory];
    if (!_session.Volume().IsLink(VolumePathOf(entry)))
        _report.failures.push_back({ShownPathOf(entry), reason});
    else if (isNamed)
        _report.failures.push_back({ShownPathOf(entry), "this link is not followed"});
    else
        _report.links.push_back(ShownPathOf(entry));
}

// Two paths of the volume can meet in one file here: "a\b" and "a/b", or "A" and "a".
void ArrivalCheck::AddArrived(const FileIdentity &identity, Z5FindData *entry, int64_t size)
{
    ++_report.arrivedFiles;
    _report.arrivedBytes += size;
    const auto added = _arrived.insert({identity, {entry, size}});
    if (added.second)
        return;
    Arrived &earlier = added.first->second;
    --_report.arrivedFiles;
    _report.arrivedBytes -= earlier.size;
    _report.failures.push_back(
        {ShownPathOf(earlier.entry), "overwritten by " + ShownPathOf(entry)});
    earlier = {entry, size};
}

bool ArrivalCheck::WasStopped() const
{
    return _settings.mayBeStopped && StopRequest::Signal() != 0;
}

bool ArrivalCheck::Advance(int64_t bytes)
{
    _doneBytes += bytes;
    const auto now = ProgressLine::Clock::now();
    if (_line.IsDue(now))
        _line.Show(_doneBytes, _current, now);
    return !WasStopped();
}

}  // namespace vx
