#include "PlacedFiles.h"

#include "NameFolding.h"

#include <random>

namespace vx {
namespace {

// The disk that is exported cannot know it, so it cannot choose names with equal hashes.
uint64_t RandomSeed()
{
    std::random_device random;
    return uint64_t{random()} << 32 | random();
}

// Each bit of the result depends on all bits of the value. Steele, Lea and Flood, "Fast splittable
// pseudorandom number generators", 2014.
uint64_t Mixed(uint64_t value)
{
    value += 0x9E3779B97F4A7C15;
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
    value = (value ^ value >> 27) * 0x94D049BB133111EB;
    return value ^ value >> 31;
}

}  // namespace

PlacedFiles::PlacedFiles(const DestinationTraits &traits, size_t expected)
    : _traits(traits), _seed(RandomSeed()), _numbers(2 * expected)
{
}

uint64_t PlacedFiles::HashOf(const FileIdentity &file) const
{
    return Mixed(Mixed(Mixed(_seed) ^ file.first) ^ file.second);
}

uint64_t PlacedFiles::HashOf(const std::string &path) const
{
    uint64_t hash = _seed;
    for (const char byte : FoldedFor(_traits, path))
        hash = Mixed(hash ^ static_cast<unsigned char>(byte));
    return hash;
}

PlacedFiles::Number PlacedFiles::At(const std::string &path, const FileIdentity &found) const
{
    const uint64_t own = HashOf(path);
    const MutexLock lock(_mutex);
    const Number number = _numbers.At(HashOf(found));
    return number != kNone ? number : _numbers.At(own);
}

PlacedFiles::Number PlacedFiles::Place(const FileIdentity &file, const std::string &path,
                                       Number number)
{
    const uint64_t own = HashOf(path);
    const MutexLock lock(_mutex);
    const Number first = _numbers.At(own);
    if (first != kNone)
        return first;
    _numbers.Set(own, number);
    _numbers.Set(HashOf(file), number);
    return kNone;
}

void PlacedFiles::Forget(const FileIdentity &file, const std::string &path)
{
    const uint64_t own = HashOf(path);
    const MutexLock lock(_mutex);
    _numbers.Set(own, kNone);
    _numbers.Set(HashOf(file), kNone);
}

}  // namespace vx
