// What a child says of a disk, and children that fail in every way.
#include "ChildProgram.h"
#include "Eventually.h"
#include "FactsJson.h"
#include "FactsText.h"
#include "OrdinaryUser.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"
#include "VolumeLibraryStatus.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace vx {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Clock = std::chrono::steady_clock;

constexpr auto kInternalError = static_cast<int32_t>(VolumeLibraryStatus::kInternalError);
constexpr auto kCancelled = static_cast<int32_t>(VolumeLibraryStatus::kCancelled);

const std::atomic<bool> kNeverCancelled = false;

// In KiB.
long PeakMemory()
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

class VolumeFactsTest : public testing::Test {
protected:
    // A program in place of volume-info, by a script of the shell.
    std::string Program(const std::string &script) const
    {
        const std::string path = _folder.WriteFile("program", "#!/bin/sh\n" + script + "\n");
        chmod(path.c_str(), 0755);
        return path;
    }
    DiskFacts Run(const std::string &script) const
    {
        return ReadDiskFacts(Program(script), "/a disk", kNeverCancelled);
    }
    // Cancels when the script has written its process into the file "started".
    DiskFacts RunAndCancel(const std::string &script)
    {
        std::atomic<bool> cancel = false;
        const std::string started = _folder.At("started");
        std::thread canceller([&] {
            Eventually([&] { return access(started.c_str(), F_OK) == 0; });
            _cancelled = Clock::now();
            cancel = true;
        });
        const DiskFacts facts =
            ReadDiskFacts(Program("echo $$ >\"" + started + "2\"; mv \"" + started + "2\" \"" +
                                  started + "\"\n" + script),
                          "/a disk", cancel);
        _ended = Clock::now();
        canceller.join();
        return facts;
    }
    bool IsGone() const
    {
        return kill(std::stoi(_folder.ReadFile("started")), 0) != 0 && errno == ESRCH;
    }

    TemporaryFolder _folder;
    Clock::time_point _cancelled;
    Clock::time_point _ended;
};

TEST_F(VolumeFactsTest, TheProgramGetsTheVolumeAsOneWordAfterTheOptions)
{
    const DiskFacts facts = Run("printf '%s|' \"$@\" >&2; exit 3");
    EXPECT_EQ(facts.reason, "--json|--|/a disk|");
}

TEST_F(VolumeFactsTest, AReportBecomesFacts)
{
    const DiskFacts facts = Run(R"(cat <<END
{"containerText": "a VHDX image", "bytes": 9000, "new": [1, {"x": 2}], "volumes": [
  {"number": 1, "bytes": 100, "kind": "fat", "kindText": "a FAT file system", "label": "A",
   "encryption": null, "nextStep": null},
  {"number": null, "bytes": 200, "kind": "other", "kindText": "a LUKS volume", "nextStep": "open it"},
  {"number": 2, "bytes": 300, "kind": "encrypted", "encryption": {"method": "AES-128-XTS",
   "state": "encrypted", "identifier": "ID", "description": "LAPTOP", "clearKey": true,
   "protectors": [{"kind": "password", "kindText": "password", "identifier": "P",
                   "opensWith": ["password", "x"]}]}}],
 "warnings": ["one", "two"]}
END)");
    EXPECT_EQ(facts.status, 0) << facts.reason;
    EXPECT_EQ(FactsText(facts), "a VHDX image|9000\n"
                                "/a disk#1|100|A|fat|a FAT file system||||||0\n"
                                "|200||other|a LUKS volume|open it|||||0\n"
                                "/a disk#2|300||encrypted|||AES-128-XTS|encrypted|ID|LAPTOP|1\n"
                                " |password|password|P|password,x\n"
                                "warning|one\n"
                                "warning|two\n");
}

TEST_F(VolumeFactsTest, OneVolumeThatOpensIsAddressedByTheDisk)
{
    const DiskFacts facts = Run(R"(echo '{"volumes": [{"number": 7}, {"number": null}]}')");
    ASSERT_EQ(facts.volumes.size(), 2u);
    EXPECT_EQ(facts.volumes[0].address, "/a disk");
    EXPECT_EQ(facts.volumes[1].address, "");
}

TEST_F(VolumeFactsTest, AFolderIsAVolumeThatOpens)
{
    const DiskFacts facts = ReadDiskFacts(VX_INFO, _folder.Path(), kNeverCancelled);
    EXPECT_EQ(facts.status, 0) << facts.reason;
    ASSERT_EQ(facts.volumes.size(), 1u);
    EXPECT_EQ(facts.volumes[0].kind, "folder");
    EXPECT_EQ(facts.volumes[0].address, _folder.Path());
}

TEST_F(VolumeFactsTest, ValuesOfWrongTypesStayEmpty)
{
    const DiskFacts facts = Run(R"(cat <<END
{"containerText": 5, "bytes": -1, "volumes": [3, null, "x", [],
  {"number": "2", "bytes": 1.5, "label": {}, "encryption": [1]},
  {"encryption": {"clearKey": "yes", "protectors": {"a": 1}}},
  {"encryption": {"protectors": [1, {"opensWith": "password"}]}}], "warnings": [1, "w"]}
END)");
    EXPECT_EQ(facts.status, 0) << facts.reason;
    EXPECT_EQ(facts.bytes, 0u);
    EXPECT_EQ(facts.container, "");
    ASSERT_EQ(facts.volumes.size(), 7u);
    EXPECT_EQ(facts.volumes[4].address, "");
    EXPECT_FALSE(facts.volumes[5].hasClearKey);
    EXPECT_EQ(facts.volumes[6].protectors.size(), 2u);
    EXPECT_THAT(facts.warnings, ElementsAre("w"));
}

TEST_F(VolumeFactsTest, ATextThatWouldDriveTheWindowBecomesOneLine)
{
    const DiskFacts facts = Run(R"(printf '{"volumes": [{"label": "a\\nb\\u202ec\\u0000d"}]}')");
    ASSERT_EQ(facts.volumes.size(), 1u);
    EXPECT_EQ(facts.volumes[0].label, "a\uFFFDb\uFFFDc\uFFFDd");
}

TEST_F(VolumeFactsTest, WhatIsNoReportIsAFailureWithAReason)
{
    for (const char *output :
         {"", "rubbish", "{}", "[]", "null", "{\"volumes\": 5}", "{\"volumes\": []",
          "{\"volumes\": []} x", "{\"volumes\": [{\"label\": \"\xff\"}]}",
          "{\"volumes\": [{\"label\": \"\\ud800\"}]}", "{\"volumes\": [1e999999]}"}) {
        _folder.WriteFile("output", output);
        const DiskFacts facts = Run("cat \"${0%/*}/output\"");
        EXPECT_EQ(facts.status, kInternalError) << output;
        EXPECT_THAT(facts.reason, HasSubstr("printed no report")) << output;
        EXPECT_THAT(facts.volumes, IsEmpty());
    }
}

TEST_F(VolumeFactsTest, ListsThatAreNestedWithoutEndAreRefused)
{
    _folder.WriteFile("output", "{\"volumes\": " + std::string(3 * 1024 * 1024, '['));
    EXPECT_EQ(Run("cat \"${0%/*}/output\"").status, kInternalError);
    const std::string deep = std::string(1000000, '[') + std::string(1000000, ']');
    _folder.WriteFile("output", "{\"volumes\": [{\"label\": \"a\", \"x\": " + deep + "}]}");
    const DiskFacts facts = Run("cat \"${0%/*}/output\"");
    ASSERT_EQ(facts.volumes.size(), 1u);
    EXPECT_EQ(facts.volumes[0].label, "a");
}

// Each of them would be a piece of memory of its own.
TEST(FactsJsonTest, ListsThatAreNestedTooDeeplyAreDroppedWhileTheyAreRead)
{
    constexpr size_t kDeep = 1900000;
    constexpr long kMost = 64 * 1024;  // KiB
    const std::string report = R"({"volumes": [{"label": "a", "x": )" + std::string(kDeep, '[') +
                               std::string(kDeep, ']') + "}]}";
    const long before = PeakMemory();
    DiskFacts facts;
    EXPECT_TRUE(ReadFactsJson(report, "/a disk", &facts));
    EXPECT_LT(PeakMemory() - before, kMost);
    ASSERT_EQ(facts.volumes.size(), 1u);
    EXPECT_EQ(facts.volumes[0].label, "a");
}

TEST_F(VolumeFactsTest, TheStatusOfAFailureIsThatOfTheLibrary)
{
    const DiskFacts facts = Run("echo 'volume-info: warning: first' >&2\n"
                                "echo 'volume-info: cannot open /a disk: no permission to read it: "
                                "advice (status 5)' >&2; exit 3");
    EXPECT_EQ(facts.status, static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied));
    EXPECT_EQ(facts.reason, "cannot open /a disk: no permission to read it: advice (status 5)");
}

TEST_F(VolumeFactsTest, AFailureWithoutAStatusIsNeverASuccess)
{
    for (const char *error :
         {"", "volume-info: bad", "volume-info: x (status 0)", "volume-info: x (status -4)",
          "volume-info: x (status 99999999999)"}) {
        const DiskFacts facts = Run(std::string("echo '") + error + "' >&2; exit 1");
        EXPECT_EQ(facts.status, kInternalError) << error;
        EXPECT_THAT(facts.reason, Not(IsEmpty())) << error;
    }
}

TEST_F(VolumeFactsTest, AReportOfAProgramThatFailsIsNotBelieved)
{
    const DiskFacts facts =
        Run("echo '{\"volumes\": [{}]}'; echo 'volume-info: broken' >&2; exit 1");
    EXPECT_EQ(facts.status, kInternalError);
    EXPECT_EQ(facts.reason, "broken");
    EXPECT_THAT(facts.volumes, IsEmpty());
}

TEST_F(VolumeFactsTest, AProgramThatCrashesIsNamedWithItsSignal)
{
    const DiskFacts facts = Run("kill -SEGV $$");
    EXPECT_EQ(facts.status, kInternalError);
    EXPECT_THAT(facts.reason, HasSubstr("signal 11"));
}

TEST_F(VolumeFactsTest, AMissingProgramIsAFailureWithAReason)
{
    const DiskFacts facts = ReadDiskFacts(_folder.At("none"), "/x", kNeverCancelled);
    EXPECT_EQ(facts.status, kInternalError);
    EXPECT_THAT(facts.reason, HasSubstr("No such file or directory"));
}

TEST_F(VolumeFactsTest, AnEndlessReportIsEnded)
{
    const DiskFacts facts = Run("exec cat /dev/zero");
    EXPECT_EQ(facts.status, kInternalError);
    EXPECT_THAT(facts.reason, HasSubstr("more than 4 MiB"));
}

TEST_F(VolumeFactsTest, AReportOfTheLargestSizeIsReadAndOneByteMoreIsNot)
{
    const std::string front = "{\"volumes\": [{\"label\": \"a\"}]}";
    const size_t limit = 4 * 1024 * 1024;
    _folder.WriteFile("output", front + std::string(limit - front.size(), ' '));
    EXPECT_EQ(Run("cat \"${0%/*}/output\"").volumes.size(), 1u);
    _folder.WriteFile("output", front + std::string(limit + 1 - front.size(), ' '));
    EXPECT_EQ(Run("cat \"${0%/*}/output\"").status, kInternalError);
}

TEST_F(VolumeFactsTest, ErrorsWithoutEndAreDroppedAndTheReportIsRead)
{
    const DiskFacts facts =
        Run("head -c 5000000 /dev/zero >&2; echo '{\"volumes\": [{\"label\": \"a\"}]}'");
    EXPECT_EQ(facts.status, 0);
    EXPECT_EQ(facts.volumes.size(), 1u);
}

TEST_F(VolumeFactsTest, OfErrorsTheFirst64KiBAreKept)
{
    const ChildEnd end =
        RunChildProgram(Program("head -c 5000000 /dev/zero >&2"), {}, 0, kNeverCancelled);
    EXPECT_TRUE(end.ExitedWith(0));
    EXPECT_EQ(end.errors.size(), 64u * 1024u);
}

TEST_F(VolumeFactsTest, AProgramThatHangsIsEndedByACancellation)
{
    for (const char *script : {"exec sleep 600", "trap '' TERM INT HUP; exec sleep 600",
                               "exec sleep 600 >&- 2>&-", "exec cat /dev/zero >&2"}) {
        unlink(_folder.At("started").c_str());
        const DiskFacts facts = RunAndCancel(script);
        EXPECT_EQ(facts.status, kCancelled) << script;
        EXPECT_THAT(facts.reason, Not(IsEmpty()));
        EXPECT_LT(_ended - _cancelled, milliseconds(1000)) << script;
        EXPECT_TRUE(IsGone()) << script;
    }
}

TEST_F(VolumeFactsTest, TheProgramInheritsNoDescriptorAndAnEmptyInput)
{
    const int inherited = open("/dev/null", O_RDONLY);  // without close-on-exec
    ASSERT_GT(inherited, 2);
    const DiskFacts facts = Run("for fd in 3 4 5 6 7 8 9; do\n"
                                "  if { true <&$fd; } 2>/dev/null; then echo $fd; fi\n"
                                "done >\"${0%/*}/open\"; cat >>\"${0%/*}/open\"; exit 1");
    close(inherited);
    // The shell may have its script there.
    const std::string open = _folder.ReadFile("open");
    EXPECT_THAT(open, Not(HasSubstr(std::to_string(inherited))));
}

TEST_F(VolumeFactsTest, TheProgramHasTheSignalsOfAFreshProcess)
{
    const auto previous = signal(SIGTERM, SIG_IGN);
    const DiskFacts facts = Run("kill -TERM $$; echo '{\"volumes\": []}'");
    signal(SIGTERM, previous);
    EXPECT_THAT(facts.reason, HasSubstr("signal 15"));
}

TEST_F(VolumeFactsTest, SeveralDisksAreReadAtOnce)
{
    const std::string program = Program("sleep 0.1; echo \"{\\\"volumes\\\": [{\\\"label\\\": "
                                        "\\\"$3\\\"}]}\"");
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            const std::string name = std::to_string(i);
            const DiskFacts facts = ReadDiskFacts(program, name, kNeverCancelled);
            right += facts.volumes.size() == 1 && facts.volumes[0].label == name;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 8);
}

TEST_F(VolumeFactsTest, ARealImageHasTheFactsThatThePrintedReportHas)
{
    const std::string image = _folder.MakeSparseFile("a \"disk\".img", 1 << 20);
    const DiskFacts facts = ReadDiskFacts(VX_INFO, image, kNeverCancelled);
    EXPECT_EQ(facts.status, 0) << facts.reason;
    EXPECT_EQ(facts.bytes, 1u << 20);
    EXPECT_EQ(FactsText(facts), FactsTextByPython(VX_INFO, image));
}

TEST_F(VolumeFactsTest, AnImageThatDoesNotOpenHasTheReasonOfTheRealProgram)
{
    const std::string image = _folder.MakeSparseFile("-x.img", 1 << 20);
    chmod(_folder.Path().c_str(), 0755);
    chmod(image.c_str(), 0);
    const OrdinaryUser user;
    const DiskFacts denied = ReadDiskFacts(VX_INFO, image, kNeverCancelled);
    EXPECT_EQ(denied.status, static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied));
    EXPECT_THAT(denied.reason, HasSubstr("no permission to read it"));
    const DiskFacts missing = ReadDiskFacts(VX_INFO, image + ".none", kNeverCancelled);
    EXPECT_EQ(missing.status, static_cast<int32_t>(VolumeLibraryStatus::kNotFound));
}

}  // namespace
}  // namespace vx
