// Fuzz target: the parser of startup key files.
#include "StartupKeyFile.h"

#include <cstdlib>

using namespace vx;
using namespace vx::bitlocker;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Result<StartupKeyFile> file = StartupKeyFile::Parse({data, size});
    if (file ? file->key.Size() != 32 : file.Failure().status != Status::kMalformedSecret)
        std::abort();
    return 0;
}
