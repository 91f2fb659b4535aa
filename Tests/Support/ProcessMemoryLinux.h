// How often a text stands in the memory of another process of the same user; asks the kernel, so
// Linux only.
#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "UniqueFd.h"

namespace vx {

struct MemoryRange {
    uint64_t begin = 0;
    uint64_t end = 0;
};

// The writable mappings that can hold a variable; a sanitizer's own ones are far larger.
inline std::vector<MemoryRange> WritableMappings(pid_t process)
{
    constexpr uint64_t kLargest = 64ULL << 20;
    std::vector<MemoryRange> ranges;
    std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long long begin = 0;
        unsigned long long end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%llx-%llx %4s", &begin, &end, rights) == 3 &&
            std::string_view(rights).substr(0, 2) == "rw" && end - begin <= kLargest)
            ranges.push_back({begin, end});
    }
    return ranges;
}

inline int CountIn(std::string_view memory, const std::string &text)
{
    int count = 0;
    for (size_t at = memory.find(text); at != memory.npos; at = memory.find(text, at + 1))
        ++count;
    return count;
}

// -1 if it cannot be read.
inline int CountInMemory(pid_t process, const std::string &text)
{
    const UniqueFd memory(
        open(("/proc/" + std::to_string(process) + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    if (!memory)
        return -1;
    int count = 0;
    for (const MemoryRange &range : WritableMappings(process)) {
        std::string bytes(range.end - range.begin, '\0');
        const ssize_t got =
            pread(memory.Get(), bytes.data(), bytes.size(), static_cast<off_t>(range.begin));
        count += CountIn(std::string_view(bytes).substr(0, std::max<ssize_t>(got, 0)), text);
    }
    return count;
}

}  // namespace vx
