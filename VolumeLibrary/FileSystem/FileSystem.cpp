#include "FileSystem.h"

#include <functional>

namespace vx {

uint64_t HashOfName(std::string_view name)
{
    const uint64_t hash = std::hash<std::string_view>()(name);
    return hash != 0 ? hash : 1;
}

}  // namespace vx
