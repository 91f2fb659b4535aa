#include "Command.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr const char *kPath = "PATH=\"$PATH:/usr/sbin:/sbin\"; ";

}  // namespace

bool HasProgram(const std::string &name)
{
    return std::system((kPath + ("command -v " + name) + " >/dev/null").c_str()) == 0;
}

bool RunShell(const std::string &line)
{
    FILE *output = popen((kPath + ("{ " + line) + "; } 2>&1").c_str(), "r");
    std::string printed;
    char chunk[512];
    while (output != nullptr && std::fgets(chunk, sizeof chunk, output) != nullptr)
        printed += chunk;
    const bool good = output != nullptr && pclose(output) == 0;
    EXPECT_TRUE(good) << line << "\n" << printed;
    return good;
}

std::string Quoted(const std::string &text)
{
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

}  // namespace vx
