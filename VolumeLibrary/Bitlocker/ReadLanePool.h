// What a read needs for itself: a cipher and working memory. Readers that run at the same time
// use different lanes; a lane that was returned is used again.
//
// Threads: all operations are safe from any thread and take no lock.
#pragma once

#include "PlacedBuffer.h"
#include "SectorCipher.h"

#include <array>
#include <atomic>

namespace vx::bitlocker {

struct ReadLane {
    explicit ReadLane(std::unique_ptr<SectorCipher> sectorCipher);

    std::unique_ptr<SectorCipher> cipher;  // null for a volume that is not encrypted
    PlacedBuffer stored;                   // a run of sectors as they are stored
    PlacedBuffer sector;                   // one sector, of which a part was asked for
};

class ReadLanePool {
public:
    // prototype: null for a volume that is not encrypted.
    explicit ReadLanePool(std::unique_ptr<SectorCipher> prototype);
    ~ReadLanePool();
    ReadLanePool(const ReadLanePool &) = delete;
    ReadLanePool &operator=(const ReadLanePool &) = delete;

    // Null when there is no memory.
    std::unique_ptr<ReadLane> Take();
    void GiveBack(std::unique_ptr<ReadLane> lane);

private:
    static constexpr size_t kKept = 8;

    const std::unique_ptr<SectorCipher> _prototype;
    std::array<std::atomic<ReadLane *>, kKept> _idle{};
};

}  // namespace vx::bitlocker
