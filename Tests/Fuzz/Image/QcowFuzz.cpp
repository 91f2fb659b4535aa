// Fuzz target: QCOW2 images. The last byte of an input says whether the header is repaired first;
// the rest is the image. It is its own backing file and its own external data file.
#include "../HeapLimit.h"
#include "../Require.h"
#include "MemoryByteSource.h"
#include "QcowImage.h"
#include "RepairSums.h"
#include "VisitSource.h"

using namespace vx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    std::vector<uint8_t> bytes(data, data + size - 1);
    if (data[size - 1] % 8 != 0)
        RepairQcow(&bytes);
    const HeapLimit limit;
    const auto file = std::make_shared<MemoryByteSource>(std::move(bytes));
    const auto openBacking = [&](const ParentWanted &) { return Result<Container>({file}); };
    const auto openData = [&](const std::string &) {
        return Result<std::shared_ptr<const ByteSource>>(file);
    };
    const auto image = OpenQcow(file, openBacking, openData);
    if (!image) {
        Require(!image.Failure().detail.empty(), "a failure has a text");
        return 0;
    }
    Require(image->source != nullptr, "what opened has a disk");
    VisitSource(*image->source);
    return 0;
}
