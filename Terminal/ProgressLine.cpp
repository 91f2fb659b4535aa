#include "ProgressLine.h"

#include "NumberText.h"
#include "TerminalText.h"

#include <algorithm>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr std::chrono::milliseconds kRedrawInterval(100);
constexpr std::chrono::seconds kPlainInterval(5);
// Speed and time left are meaningless before.
constexpr double kSecondsBeforeEstimate = 1;
constexpr char kClearLine[] = "\r\x1b[K";

}  // namespace

ProgressLine::ProgressLine(const char *verb, FILE *stream, int64_t total, Clock::time_point start)
    : _verb(verb),
      _stream(stream),
      _isLive(isatty(fileno(stream)) != 0),
      _total(total),
      _start(start),
      _nextDue(_isLive ? start : start + kPlainInterval)
{
}

ProgressLine::~ProgressLine()
{
    if (!_isDrawn)
        return;
    fputs(kClearLine, _stream);
    fflush(_stream);
}

void ProgressLine::Show(int64_t done, const std::string &file, Clock::time_point now)
{
    if (!IsDue(now))
        return;
    std::string line = Text(done, now) + "  ";
    if (_isLive) {
        _nextDue = now + kRedrawInterval;
        // The last column stays free: writing it would wrap the line on some terminals.
        const size_t columns = TerminalColumns() - 1;
        const size_t used = ColumnsOf(line);
        line = used >= columns ? line.substr(0, columns) : line + ClipFront(file, columns - used);
        line = kClearLine + line;
        _isDrawn = true;
    } else {
        _nextDue = now + kPlainInterval;
        line += file + "\n";
    }
    fputs(line.c_str(), _stream);
    fflush(_stream);
}

std::string ProgressLine::Text(int64_t done, Clock::time_point now) const
{
    const int64_t shown = std::min(done, _total);
    const double share = _total <= 0 ? 1.0 : double(shown) / double(_total);
    const double seconds = std::chrono::duration<double>(now - _start).count();
    char percent[16];
    snprintf(percent, sizeof(percent), "%3d %%", static_cast<int>(share * 100));
    std::string text = std::string(_verb) + " " + percent + "  " + MebibyteText(shown) + " of " +
                       MebibyteText(_total) + " MiB";
    if (seconds < kSecondsBeforeEstimate || shown <= 0)
        return text;
    const double left = seconds * (1 - share) / share;
    return text + "  " + SpeedText(shown, seconds) + "  " + DurationText(left) + " left";
}

size_t ProgressLine::TerminalColumns() const
{
    constexpr size_t kUsual = 80;
    winsize size = {};
    if (ioctl(fileno(_stream), TIOCGWINSZ, &size) != 0 || size.ws_col < 2)
        return kUsual;
    return size.ws_col;
}

}  // namespace vx
