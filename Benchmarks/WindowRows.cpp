#include "Rows.h"

#include <cstdlib>
#include <memory>

#include "TemporaryFolder.h"
#include "VirtualDisplay.h"

namespace {

constexpr char kEntries[] = "20000";

// Every measurement has a display and a home of its own.
class Desktop {
public:
    Desktop() : _display(vxtest::VirtualDisplay::start())
    {
        setenv("HOME", _home.Path().c_str(), 1);
    }
    bool started() const { return _display != nullptr; }

private:
    vx::TemporaryFolder _home;
    std::unique_ptr<vxtest::VirtualDisplay> _display;
};

double probe(const BenchSetting &setting, const std::vector<std::string> &job)
{
    std::vector<std::string> command = {setting.programs + "/WindowProbe.app/WindowProbe"};
    command.insert(command.end(), job.begin(), job.end());
    return PrintedNumber(RunChild(command), 0);
}

double secondsToTheEnd(const std::vector<std::string> &command)
{
    const ChildResult result = RunChild(command);
    return result.succeeded ? result.seconds : -1;
}

RowResult openingAFolder(const BenchSetting &setting)
{
    const Desktop desktop;
    if (!desktop.started())
        return {};
    return RatioOf(Compare(
        setting.turns,
        [&] {
            return probe(setting, {"expand", kEntries, "-"});
        },
        [&] {
            const double listing = probe(setting, {"list", kEntries, "-"});
            const double rows = probe(setting, {"rows", kEntries, "-"});
            return listing < 0 || rows < 0 ? -1 : listing + rows;
        }));
}

RowResult exportingInTheWindow(const BenchSetting &setting, const std::string &folder)
{
    const Desktop desktop;
    if (!desktop.started())
        return {};
    const auto freshCopy = [&] {
        std::string copy = setting.data.freshDestination();
        RunChild({"mkdir", copy});
        return copy;
    };
    return RatioOf(Compare(
        setting.turns,
        [&] {
            return probe(setting, {"export", folder, freshCopy()});
        },
        [&] {
            return secondsToTheEnd(
                {setting.programs + "/catalogue-probe", "export", folder, freshCopy()});
        }));
}

RowResult starting(const BenchSetting &setting)
{
    const Desktop desktop;
    if (!desktop.started())
        return {};
    const std::string folder = setting.data.manySmallFiles();
    return RatioOf(Compare(
        setting.turns,
        [&] {
            return secondsToTheEnd(
                {setting.programs + "/WindowProbe.app/WindowProbe", folder, "none", "start"});
        },
        [&] { return secondsToTheEnd({setting.programs + "/empty-window"}); }));
}

}  // namespace

std::vector<Row> WindowRows(const BenchSetting &setting)
{
    return {
        {"window: 20,000 entries opened / listed and rows alone", 1.5,
         [=] { return openingAFolder(setting); }},
        {"window: 20,000 files of 4 KiB / without a window", 2.0,
         [=] { return exportingInTheWindow(setting, setting.data.manySmallFiles()); }},
        {"window: 2 GiB file / without a window", 1.1,
         [=] { return exportingInTheWindow(setting, setting.data.oneLargeFile()); }},
        {"window: started with the root listed / an empty window", 1.3,
         [=] { return starting(setting); }},
    };
}
