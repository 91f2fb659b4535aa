#include "FreeMemory.h"

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "UniqueFd.h"

namespace {

constexpr off_t kStep = 4 << 20;
// The system frees some memory while it is being filled.
constexpr int kPasses = 3;

vx::UniqueFd NewFileOfHoles(const std::string &folder, off_t size)
{
    std::string pattern = folder + "/holes.XXXXXX";
    vx::UniqueFd file(mkstemp(&pattern[0]));
    return file && ftruncate(file.Get(), size) == 0 ? std::move(file) : vx::UniqueFd();
}

bool ReadStep(const vx::UniqueFd &file, off_t start)
{
    static std::vector<char> buffer(kStep);
    return pread(file.Get(), buffer.data(), buffer.size(), start) > 0;
}

off_t Memory(int which)
{
    return static_cast<off_t>(sysconf(which)) * sysconf(_SC_PAGESIZE);
}

off_t AllMemory()
{
    return Memory(_SC_PHYS_PAGES);
}

off_t FreeMemory()
{
    return Memory(_SC_AVPHYS_PAGES);
}

}  // namespace

void FillFreeMemory(const std::string &folder)
{
    const off_t size = AllMemory();
    const vx::UniqueFd file = NewFileOfHoles(folder, size);
    if (!file)
        return;
    off_t position = 0;
    for (int pass = 0; pass < kPasses; ++pass) {
        const off_t end = std::min(position + FreeMemory(), size - kStep);
        for (; position < end; position += kStep) {
            if (!ReadStep(file, position))
                return;
        }
    }
}
