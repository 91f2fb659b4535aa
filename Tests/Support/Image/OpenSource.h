// Opens volumes from bytes in memory, for images that a test damages.
#pragma once

#include "ByteSource.h"
#include "OwnedVolume.h"

#include <memory>
#include <string>

namespace vx {

using Source = std::shared_ptr<const ByteSource>;

Source SourceOf(const std::string &bytes);

// Null if the file system in the source does not open.
std::unique_ptr<OwnedVolume> NtfsVolumeOf(const Source &source);
std::unique_ptr<OwnedVolume> FatVolumeOf(const Source &source);

}  // namespace vx
