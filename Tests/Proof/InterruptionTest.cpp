// Exports that are interrupted at random moments and gone on with equal those that were not.
#include "ProofFixture.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <random>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGKILL};

struct Series {
    const char *name;
    unsigned seed;
    bool hasList;
    std::vector<std::string> more;
};

// Every export waits at its end until its disk holds everything; memory is a fast disk.
class InMemory {
public:
    InMemory()
    {
        struct statvfs found;
        if (access(kMemory, W_OK) == 0 && statvfs(kMemory, &found) == 0 &&
            found.f_bavail * found.f_frsize >= kRoom && found.f_favail >= kFiles)
            setenv("TMPDIR", kMemory, 1);
    }
    ~InMemory() { unsetenv("TMPDIR"); }
    InMemory(const InMemory &) = delete;
    InMemory &operator=(const InMemory &) = delete;

private:
    static constexpr char kMemory[] = "/dev/shm";
    static constexpr uint64_t kRoom = 256 << 20;  // bytes
    static constexpr uint64_t kFiles = 100000;
};

// Shown by the framework, which would show its bytes otherwise.
void PrintTo(const Series &series, std::ostream *stream)
{
    *stream << series.name;
}

class Interruption : private InMemory,
                     public ProofTest,
                     public ::testing::WithParamInterface<Series> {
protected:
    void SetUp() override
    {
        _random.seed(GetParam().seed);
        MakeVolume();
        const Clock::time_point start = Clock::now();
        const Result whole = Export(_folder.MakeFolder("whole"), Options(_folder.At("whole-list")));
        ASSERT_EQ(whole.status, 0) << whole.errors << whole.output;
        _duration = Clock::now() - start;
        _expected = Dated(SnapshotOf(_folder.At("whole")));
    }

    // Small files in several folders, with larger ones between them, so that several are under way.
    void MakeVolume()
    {
        for (int folder = 0; folder < 6; ++folder) {
            const std::string name = "folder " + std::to_string(folder);
            for (int file = 0; file < 6; ++file)
                AddFile(name + "/small " + std::to_string(file), Bytes(Below(20000)));
            AddFile(name + "/large", Bytes(300000 + Below(1000000)));
            AddFile(name + "/back\\slash\n", Bytes(100));
            AddFile(name + "/" + std::string(255, 'n'), Bytes(3000));
            _folder.MakeFolder("volume/" + name + "/empty");
        }
        AddFile("none", "");
    }

    std::string Bytes(size_t count)
    {
        std::string bytes(count, '\0');
        for (size_t at = 0; at + sizeof(uint32_t) <= count; at += sizeof(uint32_t)) {
            const auto word = static_cast<uint32_t>(_random());
            memcpy(&bytes[at], &word, sizeof(word));
        }
        return bytes;
    }

    size_t Below(size_t limit) { return _random() % limit; }

    Arguments Options(const std::string &list) const
    {
        Arguments options = GetParam().more;
        if (GetParam().hasList) {
            options.push_back("--manifest");
            options.push_back(list);
        }
        return options;
    }

    // At a random time of its run, or of its copying, or when so many files are in the journal.
    void InterruptOnce(const std::string &to, bool resumes)
    {
        Arguments arguments = Options(_list);
        arguments.insert(arguments.begin(), {"--to", to, _volume});
        if (resumes)
            arguments.push_back("--resume");
        ToolRun run(VX_TOOL, arguments);
        const size_t kind = Below(3);
        if (kind == 0)
            SleepUpTo(_duration);
        else if (kind == 1 || !GetParam().hasList)
            AwaitCopying(to);
        else
            AwaitSize(_journal, static_cast<off_t>(Below(6000)));
        run.Send(kSignals[Below(3)]);
        const int status = run.Wait();
        EXPECT_TRUE(status == 0 || status == 128 + SIGINT || status == 128 + SIGTERM ||
                    status == -SIGINT || status == -SIGTERM || status == -SIGKILL)
            << status << run.Errors() << run.Output();
        _inside += status != 0 && IsPartOf(to) ? 1 : 0;
    }

    // Whether some files are there, but not all.
    bool IsPartOf(const std::string &to) const
    {
        size_t arrived = 0;
        size_t others = 0;
        for (const auto &[path, entry] : _expected)
            ++(Exists(to + "/" + path) ? arrived : others);
        return arrived > 0 && others > 0;
    }

    // A folder that comes from a backslash has no date on the volume.
    static Snapshot Dated(Snapshot snapshot)
    {
        for (auto &[path, entry] : snapshot) {
            if (path.size() > 5 && path.compare(path.size() - 5, 5, "/back") == 0)
                entry = {entry.contents, 0, 0};
        }
        return snapshot;
    }

    void SleepUpTo(Clock::duration longest)
    {
        const auto range = std::chrono::duration_cast<std::chrono::microseconds>(longest).count();
        std::this_thread::sleep_for(std::chrono::microseconds(Below(range)));
    }

    void AwaitCopying(const std::string &to)
    {
        AwaitSize(to + "/folder " + std::to_string(Below(5)) + "/large", 1);
        if (Below(2) == 0)
            SleepUpTo(_duration / 16);
    }

    // Not asleep: the moment between two files is short.
    void AwaitSize(const std::string &path, off_t size)
    {
        const Clock::time_point end = Clock::now() + 2 * _duration;
        struct stat found;
        while (Clock::now() < end && (stat(path.c_str(), &found) != 0 || found.st_size < size)) {
        }
    }

    void GoOn(const std::string &to)
    {
        Arguments options = Options(_list);
        options.push_back("--resume");
        const Result resumed = Export(to, options);
        ASSERT_EQ(resumed.status, 0) << resumed.errors << resumed.output;
        ASSERT_EQ(DifferenceOf(_expected, Dated(SnapshotOf(to))), "");
        ASSERT_FALSE(Exists(_journal));
        if (GetParam().hasList)
            ASSERT_EQ(_folder.ReadFile("list"), _folder.ReadFile("whole-list"));
    }

    std::mt19937 _random;
    Clock::duration _duration{};
    Snapshot _expected;
    int _inside = 0;  // interruptions that came between the first file and the last
};

TEST_P(Interruption, AResumedExportEqualsAnUninterruptedOne)
{
    constexpr int kFewestInside = VX_MOMENTS / 4;
    // Some exports of a busy machine end before their signal comes; further moments follow then.
    for (int moment = 0;
         moment < VX_MOMENTS || (_inside < kFewestInside && moment < 4 * VX_MOMENTS); ++moment) {
        const std::string to = _folder.MakeFolder("to " + std::to_string(moment));
        InterruptOnce(to, false);
        while (Below(4) == 0)
            InterruptOnce(to, true);
        ASSERT_NO_FATAL_FAILURE(GoOn(to)) << "moment " << moment;
        Shell(_folder.Path(), "rm -rf 'to " + std::to_string(moment) + "' list");
    }
    EXPECT_GE(_inside, kFewestInside);
}

INSTANTIATE_TEST_SUITE_P(All, Interruption,
                         ::testing::Values(Series{"List", 1, true, {}},
                                           Series{"MoreOfTheList", 2, true, {}},
                                           Series{"SizeAndTime", 3, false, {}},
                                           Series{"Sync", 4, true, {"--sync"}}),
                         [](const auto &series) { return series.param.name; });

}  // namespace
}  // namespace vx
