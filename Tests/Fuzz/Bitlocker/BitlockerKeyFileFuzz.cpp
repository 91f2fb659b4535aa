// Fuzz target: the parsers of startup key files and of files with a key of the sectors.
#include "GivenSectorKey.h"
#include "StartupKeyFile.h"

#include <cstdlib>

using namespace vx;
using namespace vx::bitlocker;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Result<StartupKeyFile> file = StartupKeyFile::Parse({data, size});
    if (file ? file->key.Size() != 32 : file.Failure().status != Status::kMalformedSecret)
        std::abort();
    const Result<GivenSectorKey> key = GivenSectorKey::FromFile({data, size});
    if (!key)
        return 0;
    for (const Method method : key->PossibleMethods())
        if (key->KeyFor(method)->Size() != SectorKeySize(method))
            std::abort();
    return 0;
}
