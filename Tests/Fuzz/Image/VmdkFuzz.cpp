// Fuzz target: VMDK images. The last byte of an input says whether the checksums of packed grains
// are repaired first; the rest is the image up to a line "--", and then the contents of every file
// that its text names.
#include "../HeapLimit.h"
#include "../Require.h"
#include "MemoryByteSource.h"
#include "RepairSums.h"
#include "VisitSource.h"
#include "VmdkImage.h"

#include <algorithm>
#include <string_view>

using namespace vx;

namespace {

using Source = std::shared_ptr<const ByteSource>;

Source SourceOf(const uint8_t *data, size_t size, bool isRepaired)
{
    std::vector<uint8_t> bytes(data, data + size);
    if (isRepaired)
        RepairVmdk(&bytes);
    return std::make_shared<MemoryByteSource>(std::move(bytes));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr std::string_view kMark = "\n--\n";
    if (size == 0)
        return 0;
    --size;
    const bool isRepaired = data[size] % 8 != 0;
    const std::string_view all(reinterpret_cast<const char *>(data), size);
    const size_t end = std::min(all.find(kMark), size);
    const size_t next = std::min(size, end + kMark.size());
    const Source file = SourceOf(data, end, isRepaired);
    const Source part = SourceOf(data + next, size - next, isRepaired);
    const HeapLimit limit;
    const auto openPart = [&](const std::string &name) -> Result<Source> {
        Require(!name.empty(), "a part has a name");
        return part;
    };
    const auto image = OpenVmdk("x.vmdk", file, openPart);
    if (!image)
        return 0;
    Require(image->source != nullptr, "what opened has a disk");
    VisitSource(*image->source);
    return 0;
}
