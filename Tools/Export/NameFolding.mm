#include "NameFolding.h"

#include "CodePoints.h"
#include "LetterCase.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <string_view>

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

std::string Decomposed(const std::string &path)
{
    @autoreleasepool {
        NSString *text = [NSString stringWithUTF8String:path.c_str()];
        const char *decomposed = [[text decomposedStringWithCanonicalMapping] UTF8String];
        return decomposed == nullptr ? path : decomposed;
    }
}

std::string Caseless(const std::string &path)
{
    std::string caseless;
    for (std::string_view rest = path; !rest.empty();)
        AppendUtf8(CaselessOf(TakeCharacter(&rest)), &caseless);
    return caseless;
}

}  // namespace

std::string FoldedFor(const DestinationTraits &traits, const std::string &path)
{
    std::string folded = traits.dropsEnds ? WithoutEnds(path) : path;
    if (IsAscii(folded)) {
        if (traits.ignoresCase)
            std::transform(folded.begin(), folded.end(), folded.begin(), Lowered);
        return folded;
    }
    if (traits.ignoresForm)
        folded = Decomposed(folded);
    return traits.ignoresCase ? Caseless(folded) : folded;
}

}  // namespace vx
