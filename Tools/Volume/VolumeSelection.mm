#import "VolumeSelection.h"

#import "EntryText.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#import "Utf16Text.h"

namespace vx {
namespace {

Z5FindData *EntryNamed(NSArray *entries, const std::u16string &name)
{
    for (Z5FindData *entry in entries) {
        NSString *own = [entry strFileName];
        if ([own length] == name.size() && Utf16Text(own) == name)
            return entry;
    }
    return nil;
}

bool FailAt(const char *reason, const std::string &path, std::string *error)
{
    *error = reason + TerminalText(path);
    return false;
}

// Whether a folder above the entry is selected as well.
bool IsCovered(Z5FindData *entry, NSSet *selected)
{
    for (Z5FindData *node = [entry parentNode]; node != nil; node = [node parentNode]) {
        if ([selected containsObject:node])
            return true;
    }
    return false;
}

}  // namespace

bool FindEntry(Z5FileExplorerWapper *explorer, const std::string &path, Z5FindData **entry,
               std::string *error)
{
    AssertMainThread();
    // After a slash, a leading U+FEFF of the path is part of a name and not a mark.
    NSString *text = [NSString stringWithUTF8String:("/" + path).c_str()];
    if (text == nil)
        return FailAt("not valid UTF-8: ", path, error);
    *entry = nil;
    for (NSString *name in [text componentsSeparatedByString:@"/"]) {
        if ([name length] == 0)
            continue;
        if (*entry != nil && ![*entry bDirectory])
            return FailAt("a file and not a folder is on the way to ", path, error);
        NSArray *children = *entry == nil ? [explorer rootDirectory] : [explorer findFiles:*entry];
        if (children == nil)
            return FailAt("a folder cannot be listed on the way to ", path, error);
        *entry = EntryNamed(children, Utf16Text(name));
        if (*entry == nil)
            return FailAt("not on the volume: ", path, error);
    }
    return true;
}

NSArray *SelectEntries(Z5FileExplorerWapper *explorer, const std::vector<std::string> &paths,
                       std::string *error)
{
    AssertMainThread();
    NSMutableArray *named = [NSMutableArray array];
    for (const std::string &path : paths) {
        Z5FindData *entry = nil;
        if (!FindEntry(explorer, path, &entry, error))
            return nil;
        if (entry == nil)
            return [explorer rootDirectory];
        if (![named containsObject:entry])
            [named addObject:entry];
    }
    if (paths.empty())
        return [explorer rootDirectory];

    NSSet *all = [NSSet setWithArray:named];
    NSMutableArray *selected = [NSMutableArray array];
    for (Z5FindData *entry in named) {
        if (!IsCovered(entry, all))
            [selected addObject:entry];
    }
    return selected;
}

}  // namespace vx
