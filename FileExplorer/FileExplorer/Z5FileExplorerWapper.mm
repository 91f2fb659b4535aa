#import "Z5FileExplorerWapper.h"

#include "ThreadChecks.h"
#import "Utf16Text.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

// The longest path of Windows file systems, in UTF-16 units (Microsoft Learn, "Maximum Path
// Length Limitation"). A folder beyond it exists only on a volume whose folders never end.
constexpr size_t kLongestPath = 32767;

// A search of the volume, ended when it goes out of scope.
class Search {
public:
    Search(IVolume &volume, const std::u16string &pattern) : _volume(volume)
    {
        memset(&_record, 0, sizeof(_record));
        _handle = _volume.FindFirstFile(pattern.c_str(), &_record);
    }
    ~Search()
    {
        if (_handle != nullptr)
            _volume.FindClose(_handle);
    }
    Search(const Search &) = delete;
    Search &operator=(const Search &) = delete;

    bool opened() const { return _handle != nullptr; }
    bool next() { return _volume.FindNextFile(_handle, &_record); }
    const VolumeFindData &record() const { return _record; }

    // An empty folder leaves the record as it was given, all zero.
    bool foundNothing() const
    {
        const auto *bytes = reinterpret_cast<const unsigned char *>(&_record);
        return std::all_of(bytes, bytes + sizeof(_record), [](unsigned char b) { return b == 0; });
    }

private:
    IVolume &_volume;
    VolumeHandle _handle;
    VolumeFindData _record;
};

void appendEntry(NSMutableArray *entries, const VolumeFindData &record, Z5FindData *parent)
{
    // Large folders make many temporary texts.
    @autoreleasepool {
        Z5FindData *entry = [[Z5FindData alloc] initWithFindData:&record];
        if (entry == nil)
            return;
        [entry setParentNode:parent];
        [entries addObject:entry];
        [entry release];
    }
}

// "/" and the name.
void appendStep(std::vector<unichar> &path, NSString *name)
{
    const size_t start = path.size() + 1;
    const size_t length = [name length];
    path.resize(start + length, '/');
    [name getCharacters:path.data() + start range:NSMakeRange(0, length)];
}

}  // namespace

@implementation Z5FileExplorerWapper

- (id)initWithVolumeObject:(IVolume *)volume
{
    AssertMainThread();
    self = [super init];
    if (self == nil)
        return nil;
    if (volume != nullptr) {
        _volumeObject = volume;
        _fileData = [[self findFiles:nil] retain];
        if (_fileData != nil)
            return self;
    }
    [self release];
    return nil;
}

- (void)dealloc
{
    [_fileData release];
    [super dealloc];
}

- (NSArray *)rootDirectory
{
    return _fileData;
}

- (NSMutableArray *)findFiles:(Z5FindData *)entry
{
    AssertMainThread();
    NSMutableArray *listed = [entry subFileData];
    if (listed != nil)
        return listed;
    NSString *path = [Z5FileExplorerWapper fullPath:entry withfilter:@"*"];
    // A folder without a path must not be mistaken for the root.
    if (_volumeObject == nullptr || (entry != nil && path == nil))
        return nil;
    const std::u16string pattern = entry == nil ? u"/*" : Utf16Text(path);
    if (pattern.size() > kLongestPath)
        return nil;

    Search search(*_volumeObject, pattern);
    if (!search.opened())
        return nil;
    NSMutableArray *entries = [NSMutableArray array];
    if (entries == nil)
        return nil;

    if (!search.foundNothing())
        appendEntry(entries, search.record(), entry);
    while (search.next())
        appendEntry(entries, search.record(), entry);

    [entry setSubFileData:entries];
    return entries;
}

- (IVolume *)getVolObject
{
    return _volumeObject;
}

+ (NSString *)fullPath:(Z5FindData *)entry withfilter:(NSString *)filter
{
    if (entry == nil)
        return nil;
    const std::vector<NSString *> names = [entry namesUpwards];
    std::vector<unichar> path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (*name == nil)
            return nil;
        appendStep(path, *name);
    }
    if (filter != nil)
        appendStep(path, filter);
    return [NSString stringWithCharacters:path.data() length:path.size()];
}

+ (NSString *)parentPath:(Z5FindData *)entry
{
    NSString *path = [self fullPath:[entry parentNode] withfilter:nil];
    return path == nil ? @"" : path;
}

@end
