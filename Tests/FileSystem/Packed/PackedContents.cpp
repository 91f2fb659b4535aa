#include "PackedContents.h"

#include <random>

namespace vx {
namespace {

void PutWord(std::mt19937 *random, std::string *bytes)
{
    constexpr const char *kWords[] = {"volume", "sector", "the ", "of a ", "file", "\n", ", ", "0"};
    *bytes += kWords[(*random)() % 8];
}

// Calls to near and far places, and below zero, between other bytes.
void PutInstructions(std::mt19937 *random, std::string *bytes)
{
    constexpr uint32_t kFar[] = {0xFFFFFFF0, 0x00000400, 0x00B71AFF, 0x00B71B00, 0x7FFFFFFF};
    const uint32_t target = (*random)() % 3 == 0 ? kFar[(*random)() % 5] : (*random)() % 100000;
    *bytes += '\xE8';
    for (unsigned i = 0; i < 4; ++i)
        *bytes += static_cast<char>(target >> 8 * i);
    for (unsigned i = (*random)() % 12; i > 0; --i)
        *bytes += static_cast<char>("\x55\x89\xE5\x83\xEC\x8B\xC3\x90"[(*random)() % 8]);
}

void PutMore(ContentsKind kind, std::mt19937 *random, std::string *bytes)
{
    constexpr ContentsKind kParts[] = {ContentsKind::kText, ContentsKind::kCode,
                                       ContentsKind::kNoise, ContentsKind::kZeros};
    switch (kind) {
    case ContentsKind::kText:
        return PutWord(random, bytes);
    case ContentsKind::kCode:
        return PutInstructions(random, bytes);
    case ContentsKind::kNoise:
        *bytes += static_cast<char>((*random)());
        return;
    case ContentsKind::kZeros:
        bytes->append(64, '\0');
        return;
    case ContentsKind::kMixed:
        *bytes += ContentsOf(kParts[(*random)() % 4], (*random)() % 20000, (*random)());
        return;
    case ContentsKind::kFewBytes:
        *bytes += static_cast<char>((*random)() % 3);
        return;
    }
}

}  // namespace

std::string ContentsOf(ContentsKind kind, size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes;
    while (bytes.size() < count)
        PutMore(kind, &random, &bytes);
    bytes.resize(count);
    return bytes;
}

}  // namespace vx
