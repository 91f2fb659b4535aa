#include "OpeningProgress.h"

#include "NumberText.h"
#include "VolumeOpeningOptions.h"

#include <algorithm>

namespace vx {
namespace {

constexpr std::chrono::milliseconds kRedrawInterval(100);
// What takes less is not announced.
constexpr std::chrono::seconds kLong(5);

int64_t Signed(uint64_t number)
{
    return static_cast<int64_t>(std::min<uint64_t>(number, INT64_MAX));
}

void Report(void *context, VolumeOpeningStep step, uint64_t done, uint64_t total, uint32_t seconds)
{
    static_cast<OpeningProgress *>(context)->Show(step, done, total, seconds,
                                                  OpeningProgress::Clock::now());
}

std::string WhatIsDone(VolumeOpeningStep step, uint64_t total)
{
    return step == VolumeOpeningStep::kSearching
               ? "Searching " + SizeText(Signed(total)) + " for encrypted volumes"
               : "Trying " + CountText(Signed(total), "key", "keys");
}

}  // namespace

void OpeningProgress::AddTo(VolumeOpeningOptions *options)
{
    options->progress = Report;
    options->progressContext = this;
}

void OpeningProgress::Show(VolumeOpeningStep step, uint64_t done, uint64_t total, uint32_t seconds,
                           Clock::time_point now)
{
    if (step == VolumeOpeningStep::kKeysLeftOut)
        return NameLimit(total);
    if (_step != static_cast<uint32_t>(step))
        Begin(step, total, now);
    if (!_line.IsLive())
        Announce(total, seconds, now);
    if (_bytes)
        _bytes->Show(Signed(done), "", now);
    else if (_line.IsLive())
        DrawCount(done, total, seconds, now);
}

void OpeningProgress::NameLimit(uint64_t keys)
{
    fprintf(_stream,
            "The key ring has more files or keys than are read; %s are left, those that name a "
            "protector of the volume first\n",
            CountText(Signed(keys), "key", "keys").c_str());
    fflush(_stream);
}

void OpeningProgress::Begin(VolumeOpeningStep step, uint64_t total, Clock::time_point now)
{
    _bytes.reset();
    _line.Clear();
    _step = static_cast<uint32_t>(step);
    _isAnnounced = false;
    _start = _nextDue = now;
    if (step == VolumeOpeningStep::kSearching)
        _bytes.emplace("Searching", _stream, Signed(total), now);
}

// The cost may not be known from the beginning.
void OpeningProgress::Announce(uint64_t total, uint32_t seconds, Clock::time_point now)
{
    if (_isAnnounced || (std::chrono::seconds(seconds) < kLong && now - _start < kLong))
        return;
    _isAnnounced = true;
    const std::string cost = seconds == 0 ? "" : ", about " + LengthText(seconds);
    fprintf(_stream, "%s%s; Ctrl-C stops\n",
            WhatIsDone(static_cast<VolumeOpeningStep>(_step), total).c_str(), cost.c_str());
    fflush(_stream);
}

void OpeningProgress::DrawCount(uint64_t done, uint64_t total, uint32_t seconds,
                                Clock::time_point now)
{
    if (now < _nextDue)
        return;
    _nextDue = now + kRedrawInterval;
    const std::string cost = seconds == 0 ? "" : ", about " + LengthText(seconds) + " in all";
    _line.Draw("Trying keys: " + GroupedText(Signed(done)) + " of " + GroupedText(Signed(total)) +
               cost + "; Ctrl-C stops");
}

}  // namespace vx
