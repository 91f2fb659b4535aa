// Fuzz target: VDI images. The last byte of an input says whether the header is repaired first; the
// rest is the image.
#include "../HeapLimit.h"
#include "../Require.h"
#include "MemoryByteSource.h"
#include "RepairSums.h"
#include "VdiImage.h"
#include "VisitSource.h"

using namespace vx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    std::vector<uint8_t> bytes(data, data + size - 1);
    if (data[size - 1] % 8 != 0)
        RepairVdi(&bytes);
    const HeapLimit limit;
    const auto image = OpenVdi(std::make_shared<MemoryByteSource>(std::move(bytes)));
    if (!image) {
        Require(!image.Failure().detail.empty(), "a failure has a text");
        return 0;
    }
    Require(image->source != nullptr, "what opened has a disk");
    VisitSource(*image->source);
    return 0;
}
