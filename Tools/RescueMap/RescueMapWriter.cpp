#include "RescueMapWriter.h"

#include "ReplacementFile.h"
#include "TerminalText.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace vx {
namespace {

void AddArea(uint64_t begin, uint64_t end, char status, std::string *text)
{
    char line[80];
    if (begin == end)
        return;
    std::snprintf(line, sizeof line, "0x%08" PRIX64 "  0x%08" PRIX64 "  %c\n", begin, end - begin,
                  status);
    *text += line;
}

}  // namespace

std::string RescueMapText(const ByteRanges &wanted, uint64_t size)
{
    std::string text = "# Mapfile. Created by volume-export: a domain for ddrescue\n"
                       "# current_pos  current_status  current_pass\n"
                       "0x00000000     ?               1\n"
                       "#      pos        size  status\n";
    uint64_t at = 0;
    for (const ByteRange &range : wanted) {
        AddArea(at, range.offset, '?', &text);
        at = range.offset + range.length;
        AddArea(range.offset, at, '+', &text);
    }
    AddArea(at, std::max(at, size), '?', &text);
    return text;
}

bool WriteRescueMap(const std::string &path, const ByteRanges &wanted, uint64_t size,
                    std::string *error)
{
    ReplacementFile file(path);
    if (file.Create()) {
        file.Write(RescueMapText(wanted, size));
        if (file.Deliver())
            return true;
    }
    *error = "the map " + TerminalText(path) + " cannot be written: " + strerror(file.Error());
    return false;
}

}  // namespace vx
