#include "GeneratedVolume.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

struct Listing {
    bool folders;
    unsigned next;
    unsigned end;
};

constexpr uint64_t kFirstTime = 131000000000000000;  // in 2016
constexpr uint64_t kTimeStep = 7919ULL * 10000000;

void WriteEntry(const Listing &listing, VolumeFindData &record)
{
    char name[32];
    const int length =
        snprintf(name, sizeof(name), listing.folders ? "folder %u" : "file %u.txt", listing.next);
    std::copy(name, name + length + 1, record.name);
    record.attributes = listing.folders ? kVolumeAttributeDirectory : 0;
    record.lastWriteTime = kFirstTime + listing.next * kTimeStep;
    record.sizeHigh = 0;
    record.sizeLow = listing.next * 1009;
}

}  // namespace

GeneratedVolume::GeneratedVolume(unsigned folders, unsigned filesPerFolder)
    : _folders(folders), _filesPerFolder(filesPerFolder)
{
}

VolumeHandle GeneratedVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    const bool root = pattern[1] == u'*';
    auto listing = std::make_unique<Listing>(Listing{root, 0, root ? _folders : _filesPerFolder});
    WriteEntry(*listing, *record);
    return listing.release();
}

bool GeneratedVolume::FindNextFile(VolumeHandle search, VolumeFindData *record)
{
    Listing &listing = *static_cast<Listing *>(search);
    if (++listing.next >= listing.end)
        return false;
    WriteEntry(listing, *record);
    return true;
}

bool GeneratedVolume::FindClose(VolumeHandle search)
{
    delete static_cast<Listing *>(search);
    return true;
}

VolumeHandle GeneratedVolume::OpenFile(const char16_t *, uint32_t, uint32_t, uint32_t)
{
    return nullptr;
}
