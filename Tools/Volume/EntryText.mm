#import "EntryText.h"

#include "TerminalText.h"
#import "Utf16Text.h"
#import "Z5FileExplorerWapper.h"

namespace vx {

std::u16string VolumePathOf(Z5FindData *entry)
{
    return Utf16Text([Z5FileExplorerWapper fullPath:entry withfilter:nil]);
}

std::string ShownPathOf(Z5FindData *entry)
{
    const std::u16string path = VolumePathOf(entry);
    if (!path.empty())
        return TerminalText(path);
    return TerminalText(Utf16Text([Z5FileExplorerWapper parentPath:entry])) + "/?";
}

}  // namespace vx
