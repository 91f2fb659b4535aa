// The man page of each program against what the program prints.
#include "ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

using Texts = std::set<std::string>;

struct Program {
    const char *name;
    const char *path;
};

std::string OutputOf(const Program &program, const char *option)
{
    ChildProcess process(program.path, {option});
    EXPECT_EQ(process.AwaitEnd(), 0);
    return process.Output();
}

// As it is read, without the requests and the font changes of roff: "\-\-list" is "--list".
std::string ManPageOf(const Program &program)
{
    std::ifstream file(std::string(MAN_FOLDER "/") + program.name + ".1");
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str(), "") << program.name;
    return std::regex_replace(text.str(), std::regex(R"(\\-)"), "-");
}

Texts Found(const std::string &text, const std::string &pattern)
{
    const std::regex regex(pattern);
    Texts found;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        found.insert((*match)[1]);
    return found;
}

// "--list", "--to"; "--option" stands for any of them.
Texts OptionsIn(const std::string &text)
{
    Texts options = Found(text, R"((--[a-z][a-z-]*))");
    options.erase("--option");
    return options;
}

// Without the requests that begin a line and the quotes around their arguments.
std::string PlainText(const std::string &page)
{
    return std::regex_replace(page, std::regex("\n\\.[A-Z]+ "), "\n");
}

class ManPages : public testing::TestWithParam<Program> {};

TEST_P(ManPages, EveryOptionOfTheHelpIsInThePageAndNoOther)
{
    const Texts options = OptionsIn(OutputOf(GetParam(), "--help"));
    EXPECT_THAT(options, testing::IsSupersetOf({"--help", "--version", "--unlock"}));
    EXPECT_THAT(OptionsIn(ManPageOf(GetParam())), testing::ContainerEq(options));
}

TEST_P(ManPages, EveryExitStatusOfTheHelpIsInThePageAndNoOther)
{
    const std::string help = OutputOf(GetParam(), "--help");
    const Texts statuses = Found(help.substr(help.find("Exit status")), "\n  ([0-9]+(?:\\+N)?) ");
    EXPECT_THAT(statuses, testing::IsSupersetOf({"0", "1", "2", "3", "128+N"}));
    const std::string page = ManPageOf(GetParam());
    EXPECT_THAT(
        Found(PlainText(page.substr(page.find(".SH EXIT STATUS"))), "\n([0-9]+(?:\\+N)?)\n"),
        testing::ContainerEq(statuses));
}

TEST_P(ManPages, TheVersionIsOneLineWithTheNameOfTheProgram)
{
    EXPECT_THAT(OutputOf(GetParam(), "--version"),
                testing::MatchesRegex(std::string(GetParam().name) + " [0-9.]+\n"));
}

TEST_P(ManPages, TheShortFormOfHelpPrintsTheSame)
{
    EXPECT_EQ(OutputOf(GetParam(), "-h"), OutputOf(GetParam(), "--help"));
}

TEST_P(ManPages, WrongUseGivesOneLineAUsageAndStatus2)
{
    for (const char *wrong : {"--nonsense", "-x", "--help=yes", "--unlock"}) {
        ChildProcess process(GetParam().path, {wrong});
        EXPECT_EQ(process.AwaitEnd(), 2);
        EXPECT_THAT(process.Output(), testing::MatchesRegex(std::string(GetParam().name) +
                                                            ": [^\n]+\nUsage: [^\r]*"));
        EXPECT_THAT(process.Output(), testing::HasSubstr("--help\" for more.\n"));
    }
}

INSTANTIATE_TEST_SUITE_P(Programs, ManPages,
                         testing::Values(Program{"volume-export", VOLUME_EXPORT},
                                         Program{"volume-host", VOLUME_HOST},
                                         Program{"volume-info", VOLUME_INFO}),
                         [](const auto &program) {
                             std::string name = program.param.name + strlen("volume-");
                             name[0] = static_cast<char>(toupper(name[0]));
                             return name;
                         });

}  // namespace
