#include "InfoCommand.h"

#include "DiskSearch.h"
#include "DiskText.h"
#include "EndingSignal.h"
#include "ExitStatus.h"
#include "InfoJson.h"
#include "OpenedFacts.h"
#include "OpeningInterruption.h"
#include "ReportText.h"
#include "SearchText.h"
#include "SecretReader.h"
#include "TerminalText.h"
#include "UsageText.h"
#include "VolumeLibraryStatus.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace vx {
namespace {

// The secret was right, but there is no file system that can be read, or it is not known which part
// of the volume is encrypted.
bool IsUnlockedOnly(int32_t status)
{
    switch (static_cast<VolumeLibraryStatus>(status)) {
    case VolumeLibraryStatus::kFileSystemDamaged:
    case VolumeLibraryStatus::kFileSystemNotSupported:
    case VolumeLibraryStatus::kConversionMapDamaged:
    case VolumeLibraryStatus::kConversionNotSupported:
        return true;
    default:
        return false;
    }
}

}  // namespace

int InfoCommand::Run()
{
    return _options.action == InfoOptions::Action::kSearch ? Search() : Describe();
}

int InfoCommand::Describe()
{
    const DescribedDisk disk(_library, _options.volume);
    if (disk.Report() == nullptr)
        return Fail(kExitNotOpened, disk.Error());
    const bool opens = _options.opens || _options.showsRecoveryPasswords;
    if (opens && !_options.opens && !disk.HasClearKey())
        return Fail(kExitUsage, "--show-recovery-password needs --unlock, since only an unlocked "
                                "volume has its recovery passwords");
    // Before a secret is asked for, so that the question can be answered.
    if (!_options.json)
        Print(DiskText(_options.volume, *disk.Report()));
    Warn(disk.Warnings());
    if (opens)
        return Open(disk);
    if (_options.json)
        Print(DiskJson(_options.volume, *disk.Report(), nullptr, false));
    return Finish(kExitSuccess);
}

int InfoCommand::Open(const DescribedDisk &disk)
{
    TypedSecret secret;
    std::string error;
    int status = ReadSecret(_options.unlocking, _options.volume, &secret, &error);
    WipeText(&_options.unlocking.secret);
    if (status != kExitSuccess)
        return Fail(status, error);
    const VolumeOpening opening = OpenWith(secret, false);
    const bool isUnlocked = IsUnlockedOnly(opening.status);
    const VolumeOpening unlocked = isUnlocked ? OpenWith(secret, true) : VolumeOpening();
    secret.Wipe();
    if (OpeningInterruption::Signal() != 0)
        EndBySignal(OpeningInterruption::Signal());
    status = opening.volume != nullptr ? kExitSuccess : kExitNotOpened;
    if (IVolume *volume = isUnlocked ? unlocked.volume : opening.volume) {
        Warn(opening.warnings);
        const OpenedFacts facts(_library, *volume, _options.showsRecoveryPasswords);
        status = std::max(status, ShowOpened(disk, facts));
    } else if (_options.json) {
        Print(DiskJson(_options.volume, *disk.Report(), nullptr, false));
    }
    fflush(stdout);
    if (opening.volume == nullptr)
        Fail(status, opening.error);
    return Finish(status);
}

VolumeOpening InfoCommand::OpenWith(const TypedSecret &secret, bool unlocksOnly) const
{
    VolumeOpeningOptions options;
    options.keepsRecoveryPasswords = _options.showsRecoveryPasswords ? 1 : 0;
    options.unlocksOnly = unlocksOnly ? 1 : 0;
    return OpenVolume(_library, _options.volume, _options.unlocking.kind, secret.Text(), &options);
}

int InfoCommand::ShowOpened(const DescribedDisk &disk, const OpenedFacts &facts)
{
    const bool showsPasswords = _options.showsRecoveryPasswords;
    if (_options.json)
        Print(DiskJson(_options.volume, *disk.Report(), &facts, showsPasswords));
    else
        Print("\n" + OpenedText(facts, *disk.Report()));
    if (!_options.json && facts.HasPasswords())
        Print("\n" + RecoveryPasswordText(facts));
    return showsPasswords ? RequirePasswords(facts) : kExitSuccess;
}

int InfoCommand::RequirePasswords(const OpenedFacts &facts)
{
    if (facts.HasPasswords())
        return kExitSuccess;
    return Fail(kExitIncomplete,
                facts.Unlocking() == nullptr
                    ? "the volume is not encrypted and has no recovery passwords"
                    : "its recovery passwords cannot be read with the key of its sectors; unlock "
                      "it with another secret");
}

int InfoCommand::Search()
{
    const DiskSearch search = SearchDisk(_library, _options.volume);
    if (!search.error.empty())
        Fail(kExitNotOpened, search.error);
    if (search.error.empty() || !search.found.empty())
        Print(_options.json ? SearchJson(_options.volume, search)
                            : SearchText(_library, _options.volume, search));
    Warn(search.warnings);
    const int status = ReportGaps(search.gaps);
    if (search.isCancelled)
        EndBySignal(OpeningInterruption::Signal());
    if (!search.error.empty())
        return kExitNotOpened;
    return Finish(status);
}

int InfoCommand::ReportGaps(const DiskSearchGaps &gaps)
{
    const std::string disk = TerminalText(_options.volume) + ": ";
    if (gaps.unreadBytes > 0)
        Fail(kExitIncomplete, disk + GroupedNumber(gaps.unreadBytes) +
                                  " bytes could not be read; what lies there was not searched");
    if (gaps.uncheckedCopies > 0)
        Fail(kExitIncomplete,
             disk + "too many copies of metadata: " + GroupedNumber(gaps.uncheckedCopies) +
                 " more places that look like one were not checked, and volumes of theirs are "
                 "not listed; search an image of the rest of the disk for them");
    return gaps.unreadBytes > 0 || gaps.uncheckedCopies > 0 ? kExitIncomplete : kExitSuccess;
}

// What the description has noticed is noticed again when the volume is opened.
void InfoCommand::Warn(const std::vector<std::string> &warnings)
{
    fflush(stdout);
    for (const std::string &warning : warnings) {
        if (std::find(_warned.begin(), _warned.end(), warning) != _warned.end())
            continue;
        fprintf(stderr, "volume-info: warning: %s\n", warning.c_str());
        _warned.push_back(warning);
    }
}

void InfoCommand::Print(const std::string &text)
{
    fwrite(text.data(), 1, text.size(), stdout);
}

int InfoCommand::Fail(int status, const std::string &error)
{
    fprintf(stderr, "volume-info: %s\n", error.c_str());
    return status;
}

int InfoCommand::Finish(int status)
{
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return status;
    return Fail(kExitIncomplete, std::string("cannot write the report: ") + strerror(errno));
}

}  // namespace vx
