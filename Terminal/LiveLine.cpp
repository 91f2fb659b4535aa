#include "LiveLine.h"

#include "TerminalText.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr char kClearLine[] = "\r\x1b[K";

}  // namespace

LiveLine::LiveLine(FILE *stream) : _stream(stream), _isLive(isatty(fileno(stream)) != 0) {}

LiveLine::~LiveLine()
{
    Clear();
}

void LiveLine::Draw(const std::string &text, const std::string &end)
{
    // The last column stays free: writing it would wrap the line on some terminals.
    const size_t columns = TerminalColumns() - 1;
    const size_t used = ColumnsOf(text);
    const std::string line =
        used >= columns ? text.substr(0, columns) : text + ClipFront(end, columns - used);
    fputs((kClearLine + line).c_str(), _stream);
    fflush(_stream);
    _isDrawn = true;
}

void LiveLine::Clear()
{
    if (!_isDrawn)
        return;
    fputs(kClearLine, _stream);
    fflush(_stream);
    _isDrawn = false;
}

size_t LiveLine::TerminalColumns() const
{
    constexpr size_t kUsual = 80;
    winsize size = {};
    if (ioctl(fileno(_stream), TIOCGWINSZ, &size) != 0 || size.ws_col < 2)
        return kUsual;
    return size.ws_col;
}

}  // namespace vx
