#include "ProgressLine.h"

#include "NumberText.h"

#include <algorithm>

namespace vx {
namespace {

constexpr std::chrono::milliseconds kRedrawInterval(100);
constexpr std::chrono::seconds kPlainInterval(5);
// Speed and time left are meaningless before.
constexpr double kSecondsBeforeEstimate = 1;

}  // namespace

ProgressLine::ProgressLine(const char *verb, FILE *stream, int64_t total, Clock::time_point start)
    : _verb(verb),
      _stream(stream),
      _line(stream),
      _total(total),
      _start(start),
      _nextDue(_line.IsLive() ? start : start + kPlainInterval)
{
}

void ProgressLine::Show(int64_t done, const std::string &file, Clock::time_point now)
{
    if (!IsDue(now))
        return;
    const std::string line = Text(done, now) + "  ";
    _nextDue = now + (_line.IsLive() ? Clock::duration(kRedrawInterval) : kPlainInterval);
    if (_line.IsLive()) {
        _line.Draw(line, file);
        return;
    }
    fputs((line + file + "\n").c_str(), _stream);
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

}  // namespace vx
