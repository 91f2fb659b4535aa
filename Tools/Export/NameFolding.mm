#include "NameFolding.h"

#import <Foundation/Foundation.h>

#include <algorithm>

namespace vx {
namespace {

bool IsAscii(const std::string &text)
{
    return std::none_of(text.begin(), text.end(),
                        [](char byte) { return static_cast<unsigned char>(byte) > 127; });
}

char Lowered(char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

void DropEnd(std::string *path)
{
    while (!path->empty() && (path->back() == '.' || path->back() == ' '))
        path->pop_back();
}

std::string WithoutEnds(const std::string &path)
{
    std::string trimmed;
    for (const char byte : path) {
        if (byte == '/')
            DropEnd(&trimmed);
        trimmed += byte;
    }
    DropEnd(&trimmed);
    return trimmed;
}

// Upper case first: some letters have one capital for two small ones.
std::string FoldedText(const DestinationTraits &traits, const std::string &path)
{
    @autoreleasepool {
        NSString *text = [NSString stringWithUTF8String:path.c_str()];
        if (traits.ignoresForm)
            text = [text decomposedStringWithCanonicalMapping];
        if (traits.ignoresCase)
            text = [[text uppercaseString] lowercaseString];
        const char *folded = [text UTF8String];
        return folded == nullptr ? path : folded;
    }
}

}  // namespace

std::string FoldedFor(const DestinationTraits &traits, const std::string &path)
{
    std::string folded = traits.dropsEnds ? WithoutEnds(path) : path;
    if (!traits.ignoresCase && !traits.ignoresForm)
        return folded;
    if (!IsAscii(folded))
        return FoldedText(traits, folded);
    if (traits.ignoresCase)
        std::transform(folded.begin(), folded.end(), folded.begin(), Lowered);
    return folded;
}

}  // namespace vx
