// Fuzz target: E01 and S01 images of one file. The last byte of an input says whether the
// checksums are repaired first; the rest is the image.
#include "../HeapLimit.h"
#include "EwfSource.h"
#include "MemoryByteSource.h"
#include "RepairSums.h"
#include "VisitSource.h"

using namespace vx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    std::vector<uint8_t> image(data, data + size - 1);
    if (data[size - 1] % 8 != 0)
        RepairEwf(&image);
    const HeapLimit limit;
    const auto file = std::make_shared<MemoryByteSource>(std::move(image));
    EwfLayoutReader reader;
    if (!reader.Add(*file, "e.E01"))
        return 0;
    auto layout = reader.Finish();
    if (layout)
        VisitSource(EwfSource({{"e.E01", file}}, std::move(*layout)));
    return 0;
}
