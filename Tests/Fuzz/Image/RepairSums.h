// Makes the checksums of a damaged image fit again, so that what lies behind them is reached.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vx {

// Of the sections, tables, descriptions and chunks of an E01 or S01 image, as far as they are
// where they say.
void RepairEwf(std::vector<uint8_t> *image);

// Of both footers and the header of a VHD image.
void RepairVhd(std::vector<uint8_t> *image);

// Of the packed grains of a VMDK image, which begin with a sector.
void RepairVmdk(std::vector<uint8_t> *image);

}  // namespace vx
