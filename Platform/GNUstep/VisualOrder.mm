#include "VisualOrder.h"

#include "ThreadChecks.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

namespace vx {
namespace {

// As FriBidi declares it: text, length, the line's direction, the result and three lists of places
// and levels that may be left out. 0 upon failure.
using Reorder = int8_t (*)(const uint32_t *, int, uint32_t *, uint32_t *, int *, int *, int8_t *);

constexpr uint32_t kFromLeftToRight = 0x110;
// Stands where two letters were joined into one.
constexpr uint32_t kFiller = 0xfeff;

constexpr NSStringEncoding kUtf32 = NSUTF32LittleEndianStringEncoding;

Reorder reorder()
{
    static void *const library = dlopen("libfribidi.so.0", RTLD_NOW | RTLD_LOCAL);
    static void *const symbol = library == nullptr ? nullptr : dlsym(library, "fribidi_log2vis");
    return reinterpret_cast<Reorder>(symbol);
}

bool isWithin(uint32_t character, uint32_t first, uint32_t last)
{
    return character >= first && character <= last;
}

bool runsFromTheRight(uint32_t character)
{
    return isWithin(character, 0x590, 0x8ff) || isWithin(character, 0xfb1d, 0xfdff) ||
           isWithin(character, 0xfe70, 0xfefc) || isWithin(character, 0x10800, 0x10fff) ||
           isWithin(character, 0x1e800, 0x1efff);
}

bool commandsADirection(uint32_t character)
{
    return isWithin(character, 0x202a, 0x202e) || isWithin(character, 0x2066, 0x2069);
}

// No letter that runs from the right comes before these.
bool mayNeedOrder(NSString *text)
{
    constexpr unichar kFirst = 0x590;
    for (NSUInteger i = 0; i < [text length]; ++i)
        if ([text characterAtIndex:i] >= kFirst)
            return true;
    return false;
}

std::vector<uint32_t> charactersOf(NSString *text)
{
    NSData *data = [text dataUsingEncoding:kUtf32];
    std::vector<uint32_t> characters([data length] / sizeof(uint32_t));
    [data getBytes:characters.data() length:characters.size() * sizeof(uint32_t)];
    return characters;
}

bool needsOrder(const std::vector<uint32_t> &text)
{
    return text.size() <= static_cast<size_t>(std::numeric_limits<int>::max()) &&
           std::any_of(text.begin(), text.end(), runsFromTheRight) &&
           std::none_of(text.begin(), text.end(), commandsADirection);
}

}  // namespace

NSString *inVisualOrder(NSString *text)
{
    AssertMainThread();
    if (!mayNeedOrder(text) || reorder() == nullptr)
        return text;
    const std::vector<uint32_t> stored = charactersOf(text);
    if (!needsOrder(stored))
        return text;
    std::vector<uint32_t> shown(stored.size() + 1);
    uint32_t direction = kFromLeftToRight;
    if (reorder()(stored.data(), static_cast<int>(stored.size()), &direction, shown.data(), nullptr,
                  nullptr, nullptr) == 0)
        return text;
    shown.resize(stored.size());
    shown.erase(std::remove(shown.begin(), shown.end(), kFiller), shown.end());
    NSString *ordered = [[[NSString alloc] initWithBytes:shown.data()
                                                  length:shown.size() * sizeof(uint32_t)
                                                encoding:kUtf32] autorelease];
    // Half a character cannot be given back.
    return [ordered length] == 0 ? text : ordered;
}

NSAttributedString *attributedInVisualOrder(NSAttributedString *text)
{
    AssertMainThread();
    NSString *stored = [text string];
    NSString *ordered = inVisualOrder(stored);
    if (ordered == stored)
        return text;
    NSDictionary *attributes = [text attributesAtIndex:0 effectiveRange:nullptr];
    return [[[NSAttributedString alloc] initWithString:ordered attributes:attributes] autorelease];
}

}  // namespace vx
