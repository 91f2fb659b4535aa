// Fuzz target: VHD images. Of an input the last byte says whether the checksums are repaired first;
// the rest is the image.
#include "../HeapLimit.h"
#include "../Require.h"
#include "MemoryByteSource.h"
#include "RepairSums.h"
#include "VhdImage.h"
#include "VisitSource.h"

using namespace vx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    std::vector<uint8_t> bytes(data, data + size - 1);
    if (data[size - 1] % 8 != 0)
        RepairVhd(&bytes);
    const HeapLimit limit;
    const auto file = std::make_shared<MemoryByteSource>(std::move(bytes));
    VhdImage image;
    if (!IsVhdImage(*file))
        return 0;
    const Error error = OpenVhd(file, &image);
    Require(!error == (image.disk != nullptr), "what opened has a disk");
    if (image.disk != nullptr)
        VisitSource(*image.disk);
    else
        Require(!error.detail.empty(), "a failure has a text");
    return 0;
}
