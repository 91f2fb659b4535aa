// Times as FAT and exFAT store them, as the volume's records carry them.
#pragma once

#include <cstdint>

namespace vx {

// date, time: as FAT stores them; hundredths: 10 ms each, up to 199. The time is local time,
// assumed to be in this machine's zone. 0 for a date that does not exist.
uint64_t FileTimeFromFat(uint16_t date, uint16_t time, uint8_t hundredths);

// The same for exFAT, which may know the difference from UTC: zone then has its highest bit set,
// and a signed number of quarters of an hour in the other seven.
uint64_t FileTimeFromExfat(uint32_t stamp, uint8_t hundredths, uint8_t zone);

}  // namespace vx
