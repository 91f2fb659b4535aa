// Fuzz target: a ring of several files, and the plan that is made of its keys for a volume. The
// files of an input are separated by a zero byte and a byte 1; each begins with its name, up to the
// first end of a line.
#include "../HeapLimit.h"
#include "../Require.h"
#include "FuzzVolumes.h"
#include "RecoveryTextRepair.h"

#include "KeyCollection.h"
#include "MetadataBlock.h"
#include "StretchPlan.h"

#include <algorithm>

using namespace vx;
using namespace vx::bitlocker;

namespace {

std::vector<MetadataBlock> CopiesOf(const FuzzVolume &volume)
{
    const uint64_t copy = volume.plan.copies[0];
    const ByteView area = ByteView(volume.image).From(static_cast<size_t>(copy));
    return {*MetadataBlock::Parse(area.First(MetadataBlock::kAreaSize), copy)};
}

void AddFiles(std::string_view text, KeyCollection *ring)
{
    const std::string_view separator("\0\1", 2);
    while (!text.empty()) {
        const std::string_view file = text.substr(0, text.find(separator));
        text.remove_prefix(std::min(text.size(), file.size() + separator.size()));
        const size_t name = std::min(file.find('\n'), file.size());
        const std::string_view contents = file.substr(std::min(file.size(), name + 1));
        ring->Add({reinterpret_cast<const uint8_t *>(contents.data()), contents.size()},
                  std::string(file.substr(0, name)));
    }
}

void Check(const StretchPlan &plan, const KeyList &keys)
{
    for (const StretchPlan::Step &step : plan.Steps())
        Require(step.key < keys.Size() && step.target < plan.Targets().size() &&
                    keys.At(step.key).kind == plan.Targets()[step.target].kind,
                "a key is stretched for a protector of its kind");
    Require(plan.Steps().size() <= keys.Size() * 2 * StretchPlan::kMostSalts,
            "each key is stretched a few times");
    Require(plan.LeftOut() <= keys.Size(), "no more are left out than there are");
}

void Plan(std::string_view text)
{
    static const std::vector<FuzzVolume> volumes = MakeFuzzVolumes();
    KeyCollection ring;
    AddFiles(text, &ring);
    const std::string problems = ring.Problems();
    Require(problems.find('\n') == problems.npos, "a message has one line");
    KeyList keys = ring.TakeKeys();
    keys.MergeEqual();
    for (const FuzzVolume &volume : volumes) {
        const std::vector<MetadataBlock> copies = CopiesOf(volume);
        Check(StretchPlan(copies, keys), keys);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const HeapLimit limit;
    Plan({reinterpret_cast<const char *>(data), size});
    Plan(WithRightGroups({data, size}));
    return 0;
}
