// Times as FAT and exFAT store them, as the volume's records carry them.
#pragma once

#include <cstdint>

namespace vx {

// date, time: as FAT stores them; hundredths: 10 ms each, up to 199. The time is that of a clock
// on the wall, taken as this machine's own. 0 for a date that is none.
uint64_t FileTimeFromFat(uint16_t date, uint16_t time, uint8_t hundredths);

// The same for exFAT, which may say how far the clock was from UTC: zone has the highest bit and
// quarters of an hour, signed in seven bits.
uint64_t FileTimeFromExfat(uint32_t stamp, uint8_t hundredths, uint8_t zone);

}  // namespace vx
