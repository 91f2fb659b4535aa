#import "Z5FindData.h"

#import "CDateText.h"
#include "ThreadChecks.h"

#include <algorithm>
#include <iterator>
#include <string>

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

@interface Z5FindData ()
@property (atomic, retain, readwrite, setter=keepSizeText:) NSString *strFileSize;
@property (atomic, retain, readwrite, setter=keepParent:) Z5FindData *parentNode;
@end

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
    NSString *text = newSizeText(size);
    [self keepSizeText:text];
    [text release];
}

- (id)initWithFindData:(const VolumeFindData *)record
{
    AssertMainThread();
    self = [super init];
    if (self == nil)
        return nil;
    if (record == nullptr) {
        [self release];
        return nil;
    }
    // The encoding names the byte order: without it, a name that begins with U+FEFF or U+FFFE would
    // be read as if it began with a byte-order mark.
    _strFileName = [[NSString alloc] initWithBytes:record->name
                                            length:nameLength(*record) * sizeof(char16_t)
                                          encoding:NSUTF16LittleEndianStringEncoding];
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
    if (parent != self)
        [self keepParent:parent];
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
    if (name == nil)
        return @"";
    const NSRange dot = [name rangeOfString:@"." options:NSBackwardsSearch | NSLiteralSearch];
    return dot.length == 0 ? @"" : [name substringFromIndex:NSMaxRange(dot)];
}

@end
