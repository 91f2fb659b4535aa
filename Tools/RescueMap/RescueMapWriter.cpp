#include "RescueMapWriter.h"

#include "TerminalText.h"
#include "UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr mode_t kMode = 0666;

void AddArea(uint64_t begin, uint64_t end, char status, std::string *text)
{
    char line[80];
    if (begin == end)
        return;
    std::snprintf(line, sizeof line, "0x%08" PRIX64 "  0x%08" PRIX64 "  %c\n", begin, end - begin,
                  status);
    *text += line;
}

bool WriteAll(int file, const std::string &text)
{
    for (size_t done = 0; done < text.size();) {
        const ssize_t got = write(file, text.data() + done, text.size() - done);
        if (got < 0 && errno != EINTR)
            return false;
        done += static_cast<size_t>(std::max<ssize_t>(got, 0));
    }
    return fsync(file) == 0;
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
    const std::string partial = path + ".partial";
    (void)unlink(partial.c_str());
    const UniqueFd file(
        open(partial.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kMode));
    if (file && WriteAll(file.Get(), RescueMapText(wanted, size)) &&
        rename(partial.c_str(), path.c_str()) == 0)
        return true;
    *error = "the map " + TerminalText(path) + " cannot be written: " + std::strerror(errno);
    if (file)
        (void)unlink(partial.c_str());
    return false;
}

}  // namespace vx
