// Makes encrypted volumes from plain images.
//
// The plain image comes first and keeps its offsets; what the format needs besides is put
// after it unless the recipe says where. Streams: memory does not grow with the image.
#pragma once

#include "MetadataWriter.h"
#include "VolumeSink.h"

#include "ByteSource.h"

#include <memory>

namespace vx::bitlocker::maker {

class ConversionMapWriter;
class SectorEncryptor;

class VolumeMaker {
public:
    explicit VolumeMaker(VolumeRecipe recipe) : _recipe(std::move(recipe)) {}

    // plain: its size is a multiple of the sector size; for Vista it begins with an NTFS boot
    // sector. Throws std::runtime_error when something cannot be done.
    VolumePlan Make(const ByteSource &plain, VolumeSink &sink) const;

private:
    class Run;

    VolumeRecipe _recipe;
};

}  // namespace vx::bitlocker::maker
