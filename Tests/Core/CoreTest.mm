#import "CoreTest.h"

#include <algorithm>

std::string Utf8(NSString *text)
{
    const char *utf8 = [text UTF8String];
    return utf8 == nullptr ? "(nil)" : utf8;
}

NSString *Text(const std::string &utf8)
{
    return [NSString stringWithUTF8String:utf8.c_str()];
}

std::vector<std::string> Names(NSArray *entries)
{
    std::vector<std::string> names;
    for (Z5FindData *entry in entries)
        names.push_back(Utf8([entry strFileName]));
    return names;
}

Z5FindData *Named(NSArray *entries, const std::string &name)
{
    for (Z5FindData *entry in entries) {
        if (Utf8([entry strFileName]) == name)
            return entry;
    }
    ADD_FAILURE() << "no entry " << name;
    return nil;
}

VolumeFindData RecordOf(const std::u16string &name, uint32_t attributes, uint64_t size,
                        uint64_t modified)
{
    VolumeFindData record = {};
    record.attributes = attributes;
    record.lastWriteTime = modified;
    record.sizeHigh = static_cast<uint32_t>(size >> 32);
    record.sizeLow = static_cast<uint32_t>(size);
    const size_t units = std::min(name.size(), std::size(record.name));
    std::copy_n(name.begin(), units, record.name);
    return record;
}

Z5FindData *EntryOf(const VolumeFindData &record)
{
    return [[[Z5FindData alloc] initWithFindData:&record] autorelease];
}

void CoreTest::TearDown()
{
    volume.Release();
    [explorer release];
}

Z5FileExplorerWapper *CoreTest::Open()
{
    explorer = [[Z5FileExplorerWapper alloc] initWithVolumeObject:&volume];
    return explorer;
}

Z5FindData *CoreTest::At(const std::vector<std::string> &names)
{
    Z5FindData *entry = nil;
    NSArray *entries = [explorer rootDirectory];
    for (const std::string &name : names) {
        if (entry != nil)
            entries = [explorer findFiles:entry];
        entry = Named(entries, name);
    }
    return entry;
}
