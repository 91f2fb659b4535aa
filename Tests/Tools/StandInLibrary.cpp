// A volume library for the tests of the programs. The first text says what the entry does; the
// third is the secret, or the folder for a stall.
#include "StandInTrees.h"
#include "StandInVolume.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace {

bool IsSecretRight(const char *kind, const char *secret)
{
    return strcmp(kind, "password") == 0 && strcmp(secret, "s3cret w\xc3\xb6rd") == 0;
}

// A volume belongs to its library, until the process ends.
vx::StandInVolume *Kept(std::vector<vx::StandInEntry> entries, const char *third)
{
    static std::vector<std::unique_ptr<vx::StandInVolume>> volumes;
    volumes.push_back(std::make_unique<vx::StandInVolume>(std::move(entries), third));
    return volumes.back().get();
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *first, const char *second, const char *third, IVolume **volume)
{
    *volume = nullptr;
    if (strncmp(first, "status=", 7) == 0)
        return atoi(first + 7);
    if (strcmp(first, "locked") == 0 && !IsSecretRight(second, third))
        return 22;
    std::vector<vx::StandInEntry> entries;
    if (vx::FindStandInTree(first, &entries))
        *volume = Kept(std::move(entries), third);
    return 0;
}
