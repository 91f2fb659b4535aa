// What the volume library reports beyond IVolume (VolumeReport.h), for one opened volume.
//
// Every function of the library is optional: a query that the library cannot answer leaves the
// report unchanged and returns false. Ownership: borrows the volume; the library stays loaded for
// as long as the process runs. Threads: as the operations of IVolume.
#pragma once

#include "ByteRange.h"
#include "VolumeReport.h"

#include <string>
#include <vector>

namespace vx {

// A stream with a name, of a file or folder; size: kUnknownStreamSize if that is lost.
struct VolumeStream {
    std::u16string name;
    uint64_t size = 0;
};

class VolumeReports {
public:
    // library: the handle of the loaded library; null for none, and then nothing is known. volume:
    // as the library gave it, not one that passes its calls on.
    VolumeReports(void *library, IVolume &volume);

    // path: a volume path.
    bool DescribeEntry(const std::u16string &path, VolumeEntryReport *report) const;
    // search: an open one; after FindNextFile has answered false.
    bool DescribeListing(VolumeHandle search, VolumeListingReport *report) const;
    // What could not be read through this open file so far, in the file's order.
    std::vector<ByteRange> UnreadRanges(VolumeHandle file) const;
    // Where on the disk the file is stored, in the file's order.
    std::vector<ByteRange> Places(VolumeHandle file) const;
    // What was read of the disk so far but for the contents of files; none if that was not wanted
    // (DiskReading).
    std::vector<ByteRange> TablesRead() const;
    // The streams beside the data of an entry, in the volume's order; false if some may be missing.
    bool VisitStreams(const std::u16string &path, std::vector<VolumeStream> *streams) const;
    // Null if the stream cannot be opened; the handle is the volume's.
    VolumeHandle OpenStream(const std::u16string &path, const std::u16string &name) const;
    // Whether the disk or image went away.
    bool IsGone() const;
    // False: what is read may be wrong, since the volume was opened with a key of its sectors that
    // nothing shows to be the right one.
    bool IsKeyProven() const;

private:
    IVolume &_volume;
    const VolumeLibraryDescribeEntryFunction _describeEntry;
    const VolumeLibraryDescribeListingFunction _describeListing;
    const VolumeLibraryUnreadRangesFunction _unreadRanges;
    const VolumeLibraryFilePlacesFunction _filePlaces;
    const VolumeLibraryVisitTablesReadFunction _visitTablesRead;
    const VolumeLibraryIsGoneFunction _isGone;
    const VolumeLibraryDescribeUnlockingFunction _describeUnlocking;
    const VolumeLibraryVisitStreamsFunction _visitStreams;
    const VolumeLibraryOpenStreamFunction _openStream;
};

}  // namespace vx
