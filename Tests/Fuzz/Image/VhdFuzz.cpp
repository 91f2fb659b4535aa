// Fuzz target: VHD images. The last byte of an input says whether the checksums are repaired first;
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
    if (!IsVhdImage(*file))
        return 0;
    const auto image = OpenVhd(file, [](const ParentWanted &) {
        return Container{std::make_shared<MemoryByteSource>(std::vector<uint8_t>(1500, 'p'))};
    });
    if (!image) {
        Require(!image.Failure().detail.empty(), "a failure has a text");
        return 0;
    }
    Require(image->source != nullptr, "what opened has a disk");
    VisitSource(*image->source);
    return 0;
}
