// Repairs the checksums of a damaged image, so that the code beyond them is reached.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vx {

// Those of the sections, tables, descriptions and chunks of an E01 or S01 image that can be found.
void RepairEwf(std::vector<uint8_t> *image);

// Those of both footers and the header of a VHD image.
void RepairVhd(std::vector<uint8_t> *image);

// Those of the packed grains of a VMDK image, which begin at a sector.
void RepairVmdk(std::vector<uint8_t> *image);

}  // namespace vx
