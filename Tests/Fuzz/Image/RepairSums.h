// Repairs the checksums of a damaged image, or what its header is refused for, so that the code
// beyond them is reached.
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

// The mark, version, size of clusters and features of a QCOW2 image; none is encrypted. It has no
// checksums.
void RepairQcow(std::vector<uint8_t> *image);

// The mark, version and type of a VDI image, and its size of blocks. It has no checksums.
void RepairVdi(std::vector<uint8_t> *image);

}  // namespace vx
