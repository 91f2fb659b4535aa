#include "ReadLanePool.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kLargestSector = 4096;
// Large buffers of the callers begin at a page or just after it, see PlacedBuffer.
constexpr size_t kStoredPlace = 1024;

}  // namespace

ReadLane::ReadLane(std::unique_ptr<SectorCipher> sectorCipher)
    : cipher(std::move(sectorCipher)),
      stored(SectorCipher::kLongestRun, kStoredPlace),
      sector(kLargestSector, 0)
{
}

ReadLanePool::ReadLanePool(std::unique_ptr<SectorCipher> prototype)
    : _prototype(std::move(prototype))
{
}

ReadLanePool::~ReadLanePool()
{
    for (std::atomic<ReadLane *> &slot : _idle)
        delete slot.load();
}

std::unique_ptr<ReadLane> ReadLanePool::Take()
{
    for (std::atomic<ReadLane *> &slot : _idle) {
        if (slot.load(std::memory_order_relaxed) == nullptr)
            continue;
        if (ReadLane *lane = slot.exchange(nullptr, std::memory_order_acquire))
            return std::unique_ptr<ReadLane>(lane);
    }
    if (_prototype == nullptr)
        return std::make_unique<ReadLane>(nullptr);
    std::unique_ptr<SectorCipher> cipher = _prototype->Clone();
    return cipher == nullptr ? nullptr : std::make_unique<ReadLane>(std::move(cipher));
}

void ReadLanePool::GiveBack(std::unique_ptr<ReadLane> lane)
{
    for (std::atomic<ReadLane *> &slot : _idle) {
        ReadLane *none = nullptr;
        if (slot.compare_exchange_strong(none, lane.get(), std::memory_order_release,
                                         std::memory_order_relaxed)) {
            (void)lane.release();
            return;
        }
    }
}

}  // namespace vx::bitlocker
