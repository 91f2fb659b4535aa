#include "DestinationProbe.h"

#include "FileSystemFacts.h"
#include "FolderListing.h"
#include "LocalFile.h"
#include "ProbeFolder.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

constexpr char kProbe[] = "probe";
constexpr char kComposed[] = "\u00e9";
constexpr char kDecomposed[] = "e\u0301";
constexpr char kPunctuation[] = "\"*:<>?|";
constexpr char kLastControl = 31;
constexpr char kDelete = 127;

constexpr int64_t kSecond = 1000000000;
// An odd second, and a fraction that no step but 1 ns divides.
constexpr timespec kOddTime = {1234567891, 987654321};
constexpr int64_t kSteps[] = {1, 100, 1000, 1000000, kSecond / 100, kSecond, 2 * kSecond};

// Those that no name may have.
std::string RefusedOf(const ProbeFolder &probe, const std::string &characters)
{
    std::string refused;
    if (!probe.RefusesOrChanges("a" + characters + "z"))
        return refused;
    for (const char character : characters) {
        if (probe.RefusesOrChanges(std::string("b") + character + "z"))
            refused += character;
    }
    return refused;
}

std::string ControlCharacters()
{
    std::string all;
    for (char character = 1; character <= kLastControl; ++character)
        all += character;
    return all + kDelete;
}

int64_t NanosecondsOf(const timespec &time)
{
    return int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

// The step that the odd time was rounded to.
int64_t TimeStepOf(int file)
{
    const timespec times[] = {kOddTime, kOddTime};
    struct stat found;
    if (futimens(file, times) != 0 || fstat(file, &found) != 0)
        return 0;
    const int64_t kept = NanosecondsOf(ModificationOf(found));
    const int64_t change = std::abs(kept - NanosecondsOf(kOddTime));
    for (const int64_t step : kSteps) {
        if (change < step && kept % step == 0)
            return step;
    }
    return 0;
}

// More bytes than usual mean that names are limited in units: as many as the usual bytes.
void NoteLengths(long longest, DestinationTraits *traits)
{
    constexpr size_t kUsual = DestinationTraits::kUsualLongestName;
    if (longest > 0)
        traits->longestName = std::min(static_cast<size_t>(longest), kUsual);
    if (longest > static_cast<long>(kUsual))
        traits->longestUnits = kUsual;
}

std::string InOtherCase(std::string name)
{
    for (char &character : name) {
        const bool isLetter = (character | 0x20) >= 'a' && (character | 0x20) <= 'z';
        character = static_cast<char>(isLetter ? character ^ 0x20 : character);
    }
    return name;
}

void TryNames(const ProbeFolder &probe, DestinationTraits *traits)
{
    traits->ignoresCase = probe.Has(InOtherCase(kProbe));
    traits->ignoresForm = probe.Make(kComposed) && probe.Has(kDecomposed);
    for (const std::string end : {".", " "}) {
        const std::string name = "end" + std::to_string(end[0]);
        traits->refusesEnds = probe.Refuses(name + end) || traits->refusesEnds;
        traits->dropsEnds = probe.Has(name) || traits->dropsEnds;
    }
    traits->refusesDevices = probe.Refuses("nul.txt");
    traits->refused = RefusedOf(probe, kPunctuation) + RefusedOf(probe, ControlCharacters());
}

// The first name that has letters shows it.
bool FindsNamesInOtherCase(int folder)
{
    for (const std::string &name : NamesIn(folder)) {
        const std::string other = InOtherCase(name);
        struct stat found;
        struct stat otherFound;
        if (other == name || fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        return fstatat(folder, other.c_str(), &otherFound, AT_SYMLINK_NOFOLLOW) == 0 &&
               IdentityOf(found) == IdentityOf(otherFound);
    }
    return false;
}

}  // namespace

DestinationTraits ProbeDestination(int folder)
{
    const ProbeFolder probe(folder);
    const UniqueFd file = probe ? probe.Make(kProbe) : UniqueFd();
    if (!file)
        return LookAtDestination(folder);
    DestinationTraits traits;
    NoteLengths(fpathconf(folder, _PC_NAME_MAX), &traits);
    traits.largestFile = LargestFileBySystem(file.Get());
    traits.timeStep = TimeStepOf(file.Get());
    TryNames(probe, &traits);
    return traits;
}

DestinationTraits LookAtDestination(int folder)
{
    DestinationTraits traits;
    NoteLengths(fpathconf(folder, _PC_NAME_MAX), &traits);
    traits.largestFile = LargestFileByKind(folder);
    traits.timeStep = kSteps[std::size(kSteps) - 1];
    traits.ignoresCase = FindsNamesInOtherCase(folder);
    return traits;
}

}  // namespace vx
