// The program of Volume Host as a command: what it prints where there is no display, and its man
// page.
#include "FewDescriptors.h"
#include "ToolRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

struct Printed {
    int status;
    std::string output;
    std::string errors;
};

Printed Printing(const std::vector<std::string> &words)
{
    std::vector<std::string> arguments = {"-u", "DISPLAY", HOST_WINDOW};
    arguments.insert(arguments.end(), words.begin(), words.end());
    vx::ToolRun run("/usr/bin/env", arguments);
    const int status = run.Wait();
    return {status, run.Output(), run.Errors()};
}

std::set<std::string> Found(const std::string &text, const std::string &pattern)
{
    const std::regex regex(pattern);
    std::set<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        found.insert((*match)[1]);
    return found;
}

// As it is read, but for requests that stand alone.
std::string ManPage()
{
    std::ostringstream text;
    text << std::ifstream(MAN_PAGE).rdbuf();
    const std::string plain = std::regex_replace(text.str(), std::regex(R"(\\-)"), "-");
    return std::regex_replace(plain, std::regex("\n\\.[A-Z]+ "), "\n");
}

TEST(HostCommand, TheVersionIsOneLineWithTheNameOfTheCommand)
{
    const Printed printed = Printing({"--version"});
    EXPECT_EQ(printed.status, 0);
    EXPECT_EQ(printed.output, "volume-host-window " VX_VERSION "\n");
    EXPECT_EQ(printed.errors, "");
}

TEST(HostCommand, TooFewDescriptorsForAWindowAreNamed)
{
    vx::ToolRun run("/bin/sh", {"-c", vx::RunWithDescriptors(20), HOST_WINDOW});
    EXPECT_EQ(run.Wait(), 1);
    EXPECT_EQ(run.Errors(), "volume-host-window: too few files can be open at a time; raise the "
                            "limit (ulimit -n)\n");
}

TEST(HostCommand, TheHelpAndTheManPageNameTheSameOptionsAndStatuses)
{
    const Printed help = Printing({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(Printing({"-h"}).output, help.output);
    const auto options = Found(help.output, "(--[a-z][a-z-]*)");
    EXPECT_THAT(options, testing::ElementsAre("--help", "--version"));
    const std::string page = ManPage();
    EXPECT_EQ(Found(page, "(--[a-z][a-z-]*)"), options);
    const auto statuses = Found(help.output, "\n  ([0-9]+) ");
    EXPECT_THAT(statuses, testing::ElementsAre("0", "1", "2"));
    const size_t at = page.find("EXIT STATUS");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(Found(page.substr(at), "\n([0-9]+)\n"), statuses);
}

TEST(HostCommand, WrongUseGivesOneLineTheUsageAndStatus2)
{
    const Printed printed = Printing({"--nonsense\x1b"});
    EXPECT_EQ(printed.status, 2);
    EXPECT_EQ(printed.output, "");
    EXPECT_EQ(printed.errors, "volume-host-window: unknown option --nonsense\\x1b\n"
                              "Usage: volume-host-window [IMAGE]\n"
                              "Try \"volume-host-window --help\" for more.\n");
}

}  // namespace
