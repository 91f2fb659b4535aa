#include "Rows.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "BackgroundProcess.h"
#include "DisplayClient.h"
#include "LinkFifos.h"
#include "ShownProgram.h"
#include "TemporaryFolder.h"
#include "VirtualDisplay.h"

namespace {

constexpr char kEntries[] = "20000";

// Every measurement has a display and a home of its own.
class Desktop {
public:
    Desktop() : _display(vxtest::VirtualDisplay::Start())
    {
        setenv("HOME", _home.Path().c_str(), 1);
    }
    bool Started() const { return _display != nullptr; }
    std::unique_ptr<DisplayClient> Client() const
    {
        return Started() ? DisplayClient::ConnectTo(_display->Name()) : nullptr;
    }

private:
    vx::TemporaryFolder _home;
    std::unique_ptr<vxtest::VirtualDisplay> _display;
};

// The files through which an explorer and its host talk; one pair in the whole system. What the
// measured explorer leaves of them goes with the object.
class LinkFiles {
public:
    LinkFiles() : _inUse(Exists(kPaths[0]) || Exists(kPaths[1])) {}
    ~LinkFiles()
    {
        for (const char *path : kPaths)
            if (!_inUse)
                unlink(path);
    }
    LinkFiles(const LinkFiles &) = delete;
    LinkFiles &operator=(const LinkFiles &) = delete;

    bool InUse() const { return _inUse; }

private:
    static constexpr const char *kPaths[] = {vx::kHostToExplorer, vx::kExplorerToHost};
    static bool Exists(const char *path) { return access(path, F_OK) == 0; }

    bool _inUse;
};

double Probe(const BenchSetting &setting, const std::vector<std::string> &job)
{
    std::vector<std::string> command = {setting.programs + "/WindowProbe.app/WindowProbe"};
    command.insert(command.end(), job.begin(), job.end());
    return PrintedNumber(RunChild(command), 0);
}

RowResult OpeningAFolder(const BenchSetting &setting)
{
    const Desktop desktop;
    if (!desktop.Started())
        return {};
    return RatioOf(Compare(
        setting.turns,
        [&] {
            return Probe(setting, {"expand", kEntries, "-"});
        },
        [&] {
            const double listing = Probe(setting, {"list", kEntries, "-"});
            const double rows = Probe(setting, {"rows", kEntries, "-"});
            return listing < 0 || rows < 0 ? -1 : listing + rows;
        }));
}

RowResult ExportingInTheWindow(const BenchSetting &setting, const std::string &folder)
{
    const Desktop desktop;
    if (!desktop.Started())
        return {};
    const auto freshCopy = [&] {
        std::string copy = setting.data.FreshDestination();
        RunChild({"mkdir", copy});
        return copy;
    };
    // Each fills free memory itself, since a program with a window takes longer to start, and some
    // is free again by then.
    const std::string &holes = setting.data.Folder();
    return RatioOf(Compare(
        setting.turns,
        [&] {
            return Probe(setting, {"export", folder, freshCopy(), holes});
        },
        [&] {
            return PrintedNumber(RunChild({setting.programs + "/catalogue-probe", "export", folder,
                                           freshCopy(), holes}),
                                 1);
        }));
}

RowResult Starting(const BenchSetting &setting)
{
    const Desktop desktop;
    const std::unique_ptr<DisplayClient> display = desktop.Client();
    if (display == nullptr)
        return {};
    // Running beforehand, as on a GNUstep desktop: the empty program would start it and wait.
    const BackgroundProcess notifications({"gdnc", "--no-fork"});
    const LinkFiles link;
    if (link.InUse())
        return {false, "", "", 0, "an explorer is running, or has left its FIFOs in /tmp"};
    const auto explorer = [&](const std::string &folder) {
        return std::vector<std::string>{setting.programs + "/FileExplorer.app/FileExplorer", folder,
                                        "none", "", "x"};
    };
    const std::vector<std::string> ours = explorer(setting.data.LikeADisk());
    const std::vector<std::string> theirs = {setting.programs + "/empty-window"};
    const uint64_t ourPicture = RestingPicture(ours, *display);
    const uint64_t theirPicture = RestingPicture(theirs, *display);
    if (ourPicture == RestingPicture(explorer(setting.data.Empty()), *display)) {
        fprintf(stderr, "volume-bench: the window does not show the root\n");
        return {};
    }
    return RatioOf(Compare(
        setting.turns, [&] { return SecondsUntilShown(ours, *display, ourPicture); },
        [&] { return SecondsUntilShown(theirs, *display, theirPicture); }));
}

}  // namespace

std::vector<Row> WindowRows(const BenchSetting &setting)
{
    return {
        {"window: 20,000 entries opened / listed and rows alone", 1.5,
         [=] { return OpeningAFolder(setting); }},
        {"window: 20,000 files of 4 KiB / without a window", 2.0,
         [=] { return ExportingInTheWindow(setting, setting.data.ManySmallFiles()); }},
        {"window: 2 GiB file / without a window", 1.1,
         [=] { return ExportingInTheWindow(setting, setting.data.OneLargeFile()); }},
        {"window: started with the root listed / an empty window", 1.3,
         [=] { return Starting(setting); }},
    };
}
