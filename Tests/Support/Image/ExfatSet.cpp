#include "ExfatSet.h"

#include "PutNumber.h"

namespace vx {
std::vector<uint8_t> ExfatSetOf(const ExfatEntry &entry)
{
    const size_t names = (entry.name.size() + 14) / 15;
    std::vector<uint8_t> set((2 + names) * 32);
    set[0] = 0x85;
    set[1] = static_cast<uint8_t>(1 + names);
    PutNumber(&set, 4, entry.attributes, 2);
    PutNumber(&set, 12, (41u << 9 | 3 << 5 | 4) << 16 | (5 << 11 | 6 << 5 | 4), 4);
    set[23] = 0x80;
    set[32] = 0xC0;
    set[33] = entry.isContiguous ? 3 : 1;
    set[35] = static_cast<uint8_t>(entry.name.size());
    PutNumber(&set, 40, entry.written, 8);
    PutNumber(&set, 52, entry.firstCluster, 4);
    PutNumber(&set, 56, entry.size, 8);
    for (size_t i = 0; i < names; ++i)
        set[64 + 32 * i] = 0xC1;
    for (size_t i = 0; i < entry.name.size(); ++i)
        PutNumber(&set, 64 + 32 * (i / 15) + 2 + 2 * (i % 15), entry.name[i], 2);
    PutNumber(&set, 2, ExfatCheckOf(set.data(), set.size()), 2);
    return set;
}

uint16_t ExfatCheckOf(const uint8_t *set, size_t count)
{
    uint16_t sum = 0;
    for (size_t i = 0; i < count; ++i) {
        if (i != 2 && i != 3)
            sum = static_cast<uint16_t>((sum >> 1 | (sum & 1u) << 15) + set[i]);
    }
    return sum;
}

}  // namespace vx
