// The contents of a disk or an image that may be failing: all that can be read of it, without
// trying a bad place twice (CarefulReader.h). It lies below everything else, so that what one
// reader found bad is known to all: files, folders and tables of every volume on the disk.
//
// Ownership: shares the source. Threads: any number at a time.
// Errors: kSystemError with ENODEV once the disk is gone; otherwise what the source said last of a
// place that could not be read.
#pragma once

#include "ByteSource.h"
#include "CarefulReader.h"
#include "ImageFiles.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

class CarefulSource final : public ByteSource {
public:
    // files: the paths that the source is read from, to find out whether they are still there; may
    // be empty.
    explicit CarefulSource(std::shared_ptr<const ByteSource> source,
                           const std::vector<std::string> &files = {}, ReadingLimits limits = {});

    uint64_t Size() const override { return _below.source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    // Nothing is passed over once a place is bad, or if some may not be read: they are to be
    // counted.
    uint64_t NextData(uint64_t offset) const override
    {
        return HasFaults() ? offset : _below.source->NextData(offset);
    }

    bool IsGone() const { return _reader.IsGone(); }
    bool HasFaults() const { return _reader.HasFaults(); }

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override;

private:
    // The source as what is tried once.
    struct Below final : RawReader {
        Below(std::shared_ptr<const ByteSource> below, const std::vector<std::string> &paths)
            : source(std::move(below)), files(paths)
        {
        }

        Outcome ReadOnce(uint64_t offset, char *buffer, size_t count) const override;
        bool IsThere() const override { return files.AreThere(); }
        Error LastError() const;

        const std::shared_ptr<const ByteSource> source;
        const ImageFiles files;
        mutable Mutex mutex;
        mutable Error lastError VX_GUARDED_BY(mutex);
    };

    const Below _below;
    const std::string _whyWithheld;
    const CarefulReader _reader;
};

}  // namespace vx
