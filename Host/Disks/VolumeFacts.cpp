#include "VolumeFacts.h"

#include "ChildProgram.h"
#include "FactsJson.h"
#include "LineText.h"
#include "VolumeLibraryStatus.h"

#include <charconv>
#include <cstring>
#include <sstream>
#include <string_view>
#include <sys/stat.h>

namespace vx {
namespace {

constexpr auto kNotEncrypted = static_cast<int32_t>(VolumeLibraryStatus::kNotEncrypted);
constexpr size_t kLongestReport = 4 * 1024 * 1024;

// The number in "...: no permission to read it (status 5)", or that of an unexpected failure.
int32_t StatusIn(const std::string &error)
{
    constexpr char kBeginning[] = "(status ";
    int32_t status = 0;
    const size_t found = error.rfind(kBeginning);
    if (found != std::string::npos)
        std::from_chars(error.data() + found + strlen(kBeginning), error.data() + error.size(),
                        status);
    return status > 0 ? status : static_cast<int32_t>(VolumeLibraryStatus::kInternalError);
}

// The last line that the program began with its name: the error. Warnings come before it.
std::string ErrorIn(const std::string &errors)
{
    constexpr std::string_view kProgram = "volume-info: ";
    std::string error;
    std::istringstream lines(errors);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, kProgram.size(), kProgram) == 0)
            error = line.substr(kProgram.size());
    }
    return LineText(error.empty() ? errors : error);
}

DiskFacts Failed(VolumeLibraryStatus status, std::string reason)
{
    DiskFacts facts;
    facts.status = static_cast<int32_t>(status);
    facts.reason = std::move(reason);
    return facts;
}

DiskFacts Unexpected(const std::string &what)
{
    return Failed(VolumeLibraryStatus::kInternalError,
                  "the program that examines disks, volume-info, " + what);
}

bool IsFolder(const std::string &path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The program examines none; its files are a volume that opens.
DiskFacts FolderFacts(const std::string &path)
{
    VolumeFacts folder;
    folder.address = path;
    folder.kind = folder.kindText = "folder";
    DiskFacts facts;
    facts.volumes = {folder};
    return facts;
}

DiskFacts FactsOf(const ChildEnd &end, const std::string &volume)
{
    DiskFacts facts;
    if (end.number != 0) {
        facts.reason = ErrorIn(end.errors);
        facts.status = StatusIn(facts.reason);
        if (facts.status == kNotEncrypted && IsFolder(volume))
            return FolderFacts(volume);
        const std::string exit = "ended with exit status " + std::to_string(end.number);
        return facts.reason.empty() ? Unexpected(exit) : facts;
    }
    return ReadFactsJson(end.output, volume, &facts)
               ? facts
               : Unexpected("printed no report; install it again together with this program");
}

}  // namespace

DiskFacts ReadDiskFacts(const std::string &infoProgram, const std::string &volume,
                        const std::atomic<bool> &cancel)
{
    using Kind = ChildEnd::Kind;
    const ChildEnd end =
        RunChildProgram(infoProgram, {"--json", "--", volume}, kLongestReport, cancel);
    switch (end.kind) {
    case Kind::kExited:
        return FactsOf(end, volume);
    case Kind::kSignalled:
        return Unexpected("was ended by signal " + std::to_string(end.number));
    case Kind::kNotStarted:
        return Unexpected(std::string("could not be started: ") + strerror(end.number));
    case Kind::kCancelled:
        return Failed(VolumeLibraryStatus::kCancelled, VolumeLibraryStatusText(static_cast<int32_t>(
                                                           VolumeLibraryStatus::kCancelled)));
    case Kind::kTooMuch:
        return Unexpected("printed more than 4 MiB");
    case Kind::kUnknown:
        break;
    }
    return Unexpected("ended in an unknown way");
}

}  // namespace vx
