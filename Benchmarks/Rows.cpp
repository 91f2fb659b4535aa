#include "Rows.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "ChildProcess.h"
#include "Comparison.h"

namespace {

std::string InSeconds(double seconds)
{
    char text[32];
    snprintf(text, sizeof(text), "%.3f s", seconds);
    return text;
}

std::string InMebibytes(double bytes)
{
    char text[32];
    snprintf(text, sizeof(text), "%.1f MiB", bytes / (1 << 20));
    return text;
}

double SecondsOf(const std::vector<std::string> &command)
{
    const ChildResult result = RunChild(command);
    return result.succeeded ? result.seconds : -1;
}

RowResult ExportAgainstCopy(const BenchSetting &setting, const std::string &folder,
                            const std::string &tool)
{
    const std::string program = setting.programs + "/" + tool;
    const Comparison comparison = Compare(
        setting.turns,
        [&] {
            const std::string copy = setting.data.FreshDestination();
            return tool == "volume-export"
                       ? SecondsOf({program, folder, "--to", copy})
                       : SecondsOf({"sh", "-c", R"(mkdir "$3" && exec "$1" export "$2" "$3")", "sh",
                                    program, folder, copy});
        },
        [&] {
            return SecondsOf({"cp", "-r", folder, setting.data.FreshDestination()});
        });
    return RatioOf(comparison);
}

RowResult ListingAgainstLs(const BenchSetting &setting)
{
    const std::string folder = setting.data.ManyEntries();
    const std::string program = setting.programs + "/catalogue-probe";
    return RatioOf(Compare(
        setting.turns,
        [&] {
            return SecondsOf({program, "list", folder});
        },
        [&] {
            return SecondsOf({"ls", "-l", folder});
        }));
}

RowResult MemoryPerEntry(const BenchSetting &setting)
{
    const std::string folder = setting.data.ManyEntries();
    const double bytes =
        PrintedNumber(RunChild({setting.programs + "/catalogue-probe", "list", folder}), 2);
    return {bytes >= 0, std::to_string(static_cast<int>(bytes)) + " bytes", "-", bytes};
}

RowResult PlanningTenTimes(const BenchSetting &setting)
{
    const std::string program = setting.programs + "/catalogue-probe";
    const auto plan = [&](const char *files) {
        return [&program, files] { return PrintedNumber(RunChild({program, "plan", files}), 1); };
    };
    return RatioOf(Compare(setting.turns, plan("200000"), plan("20000")));
}

RowResult ExportMemory(const BenchSetting &setting)
{
    const std::string folder = setting.data.OneLargeFile();
    const std::string copy = setting.data.FreshDestination();
    RunChild({"mkdir", copy});
    const double bytes =
        PrintedNumber(RunChild({setting.programs + "/catalogue-probe", "export", folder, copy}), 0);
    return {bytes >= 0, InMebibytes(bytes), "-", bytes / (1 << 20)};
}

}  // namespace

RowResult RatioOf(const Comparison &comparison)
{
    return {comparison.succeeded, InSeconds(comparison.ours), InSeconds(comparison.theirs),
            comparison.ratio};
}

double PrintedNumber(const ChildResult &result, int place)
{
    std::istringstream numbers(result.output);
    double number = -1;
    for (int i = 0; i <= place; ++i)
        numbers >> number;
    return result.succeeded && numbers ? number : -1;
}

std::vector<Row> BenchRows(const BenchSetting &setting)
{
    const auto large = [=](const char *tool) {
        return [=] { return ExportAgainstCopy(setting, setting.data.OneLargeFile(), tool); };
    };
    const auto small = [=](const char *tool) {
        return [=] { return ExportAgainstCopy(setting, setting.data.ManySmallFiles(), tool); };
    };
    std::vector<Row> rows = {
        {"2 GiB file, engine / cp", 1.10, large("catalogue-probe")},
        {"2 GiB file, volume-export with its check / cp", 1.10, large("volume-export")},
        {"20,000 files of 4 KiB, engine / cp -r", 1.5, small("catalogue-probe")},
        {"20,000 files of 4 KiB, volume-export with its check / cp -r", 1.5,
         small("volume-export")},
        {"100,000 entries listed / ls -l", 1.0, [=] { return ListingAgainstLs(setting); }},
        {"memory of an entry, bytes", 400, [=] { return MemoryPerEntry(setting); }},
        {"planning 200,000 files / 20,000 files", 12, [=] { return PlanningTenTimes(setting); }},
        {"memory of a 2 GiB export, MiB", 16, [=] { return ExportMemory(setting); }},
    };
#ifdef VX_BENCH_WINDOW
    for (const Row &row : WindowRows(setting))
        rows.push_back(row);
#endif
    return rows;
}
