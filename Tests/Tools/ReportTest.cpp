// The report of an export, as another program reads it.
#include "ToolFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class Report : public ToolTest {
protected:
    // The value of a Python expression on the report, "r".
    std::string Value(const std::string &expression) const
    {
        const std::string program =
            "import json,sys; r=json.load(open(sys.argv[1], encoding='utf-8')); v=" + expression +
            "; print(v)";
        ToolRun run("/usr/bin/env", {"python3", "-c", program, _report});
        EXPECT_EQ(run.Wait(), 0) << run.Errors();
        const std::string output = run.Output();
        return output.substr(0, output.find('\n'));
    }

    Result ExportStandIn(const std::string &tree, const Arguments &more = {})
    {
        Arguments arguments = {"--to", _destination, "--report", _report, tree};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunWith(kStandIn, arguments);
    }

    const std::string _report = _folder.At("report.json");
};

TEST_F(Report, SaysWhatWasOpenedAndHowMuchArrived)
{
    _folder.WriteFile("volume/a\"\n.txt", "12345");
    _folder.WriteFile("volume/sub/b.txt", "1");
    EXPECT_EQ(Run({"--to", _destination, "--report", _report, "--streams", _volume, "/"}).status,
              0);
    EXPECT_EQ(Value("r['opened']['volume']"), _volume);
    EXPECT_EQ(Value("r['opened']['unlock'], r['program'], r['format']"),
              "('none', 'volume-export', 1)");
    EXPECT_EQ(Value("r['destination']"), _destination);
    EXPECT_EQ(Value("r['options']['streams'], r['options']['paths'], r['options']['manifest']"),
              "(True, ['/'], None)");
    EXPECT_EQ(Value("r['status'], r['stoppedBy'], r['signal'], r['failures'], r['errors']"),
              "(0, None, None, [], [])");
    EXPECT_EQ(Value("[r['counts'][n] for n in ('files', 'bytes', 'plannedFolders', 'failures')]"),
              "[2, 6, 1, 0]");
    EXPECT_EQ(Value("r['start'] <= r['end'], len(r['start']), r['end'][-1]"), "(True, 28, 'Z')");
}

TEST_F(Report, NeverHoldsTheSecret)
{
    EXPECT_EQ(Run({"--to", _destination, "--report", _report, _volume, "--unlock", "password",
                   "geheim-4711"})
                  .status,
              3);
    EXPECT_EQ(Value("r['opened']['unlock']"), "password");
    EXPECT_TRUE(Lacks(_folder.ReadFile("report.json"), "geheim"));
}

TEST_F(Report, NamesEveryFailureWithItsRanges)
{
    EXPECT_EQ(ExportStandIn("riddled").status, 1);
    EXPECT_EQ(Value("len(r['failures']), r['failures'][0]['kind'], r['counts']['damagedCopies']"),
              "(1, 'unread', 1)");
    EXPECT_EQ(Value("len(r['failures'][0]['unread']), r['failures'][0]['unread'][1]"),
              "(20, {'offset': 8192, 'length': 512})");
    EXPECT_EQ(Value("r['failures'][0]['path'][1:] == r['failures'][0]['copy']"), "True");
}

TEST_F(Report, NamesWhatTheVolumeKeepsBackEachWithItsObstacle)
{
    EXPECT_EQ(ExportStandIn("obstacles").status, 1);
    EXPECT_EQ(Value("sorted(f['path'] for f in r['failures'] if f['obstacle'] == 'only-in-cloud') "
                    "!= []"),
              "True");
    EXPECT_EQ(Value("[f['path'] for f in r['failures'] if not f['reason']]"), "[]");
    EXPECT_EQ(Value("{f['reason'] for f in r['failures'] if f['obstacle'] == 'encrypted'}"),
              "{'this file is encrypted by Windows on its own (EFS) and cannot be read'}");
    EXPECT_EQ(Value("r['counts']['failures'] == len(r['failures'])"), "True");
}

TEST_F(Report, IsWrittenWhenTheDiskGoesAway)
{
    EXPECT_EQ(ExportStandIn("gone").status, 1);
    EXPECT_EQ(Value("r['stoppedBy'], r['counts']['notCopied'], r['counts']['unfinished'], "
                    "r['status']"),
              "('disk-gone', 2, 1, 1)");
}

TEST_F(Report, IsWrittenAfterCtrlC)
{
    const std::string stall = _folder.MakeFolder("stall");
    ASSERT_EQ(mkfifo((stall + "/stalled").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo((stall + "/release").c_str(), 0600), 0);
    ToolRun run(CopyOfTool(kStandIn),
                {"--to", _destination, "--report", _report, "stalling", "--unlock", "none", stall});
    close(open((stall + "/stalled").c_str(), O_RDONLY));
    run.Send(SIGINT);
    run.AwaitText("Ctrl-C again ends at once");
    close(open((stall + "/release").c_str(), O_WRONLY));
    EXPECT_EQ(run.Wait(), 128 + SIGINT);
    EXPECT_EQ(Value("r['stoppedBy'], r['signal'], r['status']"), "('signal', 2, 130)");
}

TEST_F(Report, IsWrittenIfNothingIsExported)
{
    EXPECT_EQ(Run({"--to", _destination, "--report", _report, _volume, "/none"}).status, 1);
    EXPECT_EQ(Value("r['status'], 'none' in r['errors'][0], r['counts']['files']"), "(1, True, 0)");
    EXPECT_EQ(Run({"--to", _destination, "--report", _report, _folder.At("none")}).status, 3);
    EXPECT_EQ(Value("r['status'], len(r['errors'])"), "(3, 1)");
}

TEST_F(Report, AnOlderOneIsReplacedOnlyByAWholeOne)
{
    _folder.WriteFile("report.json", "old");
    EXPECT_EQ(Run({"--to", _destination, "--report", _report, _volume}).status, 0);
    EXPECT_EQ(Value("r['status']"), "0");
    EXPECT_NE(access(_folder.At(".report.json.partial").c_str(), F_OK), 0);
}

TEST_F(Report, InTheDestinationItIsRefusedBeforeTheExport)
{
    _folder.WriteFile("volume/a.txt", "1");
    const Result result = Run({"--to", _destination, "--report", _destination + "/r", _volume});
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(Holds(result.errors, "it lies in the destination; choose a place outside\n"));
    EXPECT_TRUE(FilesBelow(_destination).empty());
}

}  // namespace
}  // namespace vx
