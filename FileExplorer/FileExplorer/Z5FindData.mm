#import "Z5FindData.h"

#import "CDateText.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint64_t kFileTimeUnitsPerSecond = 10000000;
constexpr uint64_t kSecondsFrom1601To1970 = 11644473600;

// Units of the record's name, which a faulty volume may have left without its zero.
size_t nameLength(const VolumeFindData &record)
{
    const char16_t *end = std::end(record.name);
    return static_cast<size_t>(std::find(std::begin(record.name), end, u'\0') - record.name);
}

NSString *newSizeText(int64_t size)
{
    constexpr int64_t kKiB = int64_t(1) << 10;
    constexpr int64_t kMiB = int64_t(1) << 20;
    constexpr int64_t kGiB = int64_t(1) << 30;

    // Rounded to single precision once; the scalings below are exact powers of two.
    const float bytes = static_cast<float>(size);
    if (size >= kGiB)
        return [[NSString alloc] initWithFormat:@"%0.2f GB", double(bytes * 0x1p-30F)];
    if (size >= kMiB)
        return [[NSString alloc] initWithFormat:@"%0.2f MB", double(bytes * 0x1p-20F)];
    if (size >= kKiB)
        return [[NSString alloc] initWithFormat:@"%0.2f KB", double(bytes * 0x1p-10F)];
    return [[NSString alloc] initWithFormat:@"%0.f byte", double(bytes)];
}

}  // namespace

size_t utf16Length(const char16_t *units)
{
    return units == nullptr ? 0 : std::char_traits<char16_t>::length(units);
}

@implementation Z5FindData

@synthesize strFileName = _strFileName;
@synthesize strModifiedDateTime = _strModifiedDateTime;
@synthesize strFileSize = _strFileSize;
@synthesize nFileSize = _nFileSize;
@synthesize bDirectory = _bDirectory;
@synthesize parentNode = _parent;
@synthesize subFileData = _subFileData;

- (void)setFileSize:(int64_t)size
{
    _nFileSize = size;
    [_strFileSize release];
    _strFileSize = newSizeText(size);
}

- (id)initWithFindData:(const VolumeFindData *)record
{
    self = [super init];
    if (self == nil)
        return nil;
    if (record == nullptr) {
        [self release];
        return nil;
    }
    // Record and machine have the same byte order, so the units need no conversion.
    _strFileName =
        [[NSString alloc] initWithCharacters:reinterpret_cast<const unichar *>(record->name)
                                      length:nameLength(*record)];
    _strModifiedDateTime = [[Z5FindData FormatFileTimeToString:record->lastWriteTime] retain];
    _bDirectory = (record->attributes & kVolumeAttributeDirectory) != 0;
    [self setFileSize:static_cast<int64_t>(uint64_t(record->sizeHigh) << 32 | record->sizeLow)];
    return self;
}

- (void)dealloc
{
    [_strFileName release];
    [_strModifiedDateTime release];
    [_strFileSize release];
    [_parent release];
    [_subFileData release];
    [super dealloc];
}

- (void)setParentNode:(Z5FindData *)parent
{
    if (parent == self)
        return;
    [parent retain];
    [_parent release];
    _parent = parent;
}

- (std::vector<NSString *>)namesUpwards
{
    std::vector<NSString *> names;
    for (Z5FindData *entry = self; entry != nil; entry = entry->_parent)
        names.push_back(entry->_strFileName);
    return names;
}

+ (NSString *)FormatFileTimeToString:(uint64_t)fileTime
{
    return CDateText::shared().textFor(fileTime / kFileTimeUnitsPerSecond - kSecondsFrom1601To1970);
}

+ (NSString *)fileExtention:(NSString *)name
{
    const char *text = [name UTF8String];
    const char *dot = text == nullptr ? nullptr : strrchr(text, '.');
    return dot == nullptr ? @"" : [NSString stringWithUTF8String:dot + 1];
}

@end
