#include "RescueMap.h"

#include "RescueMapParser.h"
#include "TerminalText.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace vx {
namespace {

struct CloseStream {
    void operator()(FILE *stream) const { fclose(stream); }
};
using Stream = std::unique_ptr<FILE, CloseStream>;

// The next line without its end; false at the end of the file or if it cannot be read. Reading
// stops within a line that is too long, unless it is a comment.
bool TakeLine(FILE *stream, std::string *line)
{
    line->clear();
    int letter = getc(stream);
    const bool isLine = letter != EOF;
    for (; letter != EOF && letter != '\n'; letter = getc(stream)) {
        if (line->size() <= RescueMapParser::kLongestLine)
            line->push_back(static_cast<char>(letter));
        else if (line->front() != '#')
            break;
    }
    return isLine;
}

bool TakeLines(FILE *stream, RescueMapParser *parser)
{
    std::string line;
    while (TakeLine(stream, &line)) {
        if (!parser->Take(line))
            return false;
    }
    return ferror(stream) != 0 || parser->End();
}

}  // namespace

std::optional<RescueMap> RescueMap::Read(const std::string &path, std::string *error)
{
    const std::string name = "the map " + TerminalText(path);
    const Stream stream(fopen(path.c_str(), "re"));
    if (stream == nullptr) {
        *error = name + " cannot be read: " + std::strerror(errno);
        return std::nullopt;
    }
    RescueMapParser parser;
    const bool isMap = TakeLines(stream.get(), &parser);
    if (isMap && ferror(stream.get()) != 0) {
        *error = name + " cannot be read: " + std::strerror(errno);
        return std::nullopt;
    }
    if (!isMap) {
        *error = name + " is not a map of ddrescue: " + parser.Error();
        return std::nullopt;
    }
    const uint64_t rescued = parser.RescuedBytes();
    return RescueMap{parser.TakeUnread(), rescued};
}

}  // namespace vx
