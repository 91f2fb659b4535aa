// Describes a disk or an image without a secret: what DiskReport.h reports of it. Only tables are
// read: those of the partitions, boot sectors, the copies of metadata that are named, labels.
//
// Memory: a disk has 256 partitions of each kind at most, and an encrypted volume 256 protectors
// that are listed. Time: the maps of 16 volumes in conversion are read at most.
#pragma once

#include "DiskReport.h"
#include "OpenVolume.h"
#include "ReportArena.h"

#include <memory>
#include <string>

namespace vx {

struct Container;
struct VolumeChoice;

struct OwnedDiskReport final : DiskReport {
    ReportArena arena;
};

using DescribedDisk = std::unique_ptr<const OwnedDiskReport>;

// device: as for OpenDisk. Errors: any Status of a container and of a table of partitions, and
// kNotBitlocker for an offset without an encrypted volume. May throw std::bad_alloc.
Result<DescribedDisk> DescribeDisk(const std::string &device, const OpeningOptions &options = {});

// The same for a disk or an image that is open already.
Result<DescribedDisk> DescribeDiskContents(const Container &container, const VolumeChoice &choice,
                                           const OpeningOptions &options = {});

}  // namespace vx
