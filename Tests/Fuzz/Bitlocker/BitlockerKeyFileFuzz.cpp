// Fuzz target: the parser of startup key files.
#include "Bitlocker/StartupKeyFile.h"

#include <cstdlib>

using namespace vx::bitlocker;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Result<StartupKeyFile> file = StartupKeyFile::parse({data, size});
    if (file ? file->key.size() != 32 : file.error().status != Status::MalformedSecret)
        std::abort();
    return 0;
}
