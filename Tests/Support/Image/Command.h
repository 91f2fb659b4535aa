// Runs the system's programs that make file systems and images.
#pragma once

#include <string>

namespace vx {

// Whether the program is installed; also looks where only the administrator's path leads.
bool HasProgram(const std::string &name);

// Runs a shell command; if it fails, so does the test, with what it printed.
bool RunShell(const std::string &line);

// The text as one word for the shell.
std::string Quoted(const std::string &text);

}  // namespace vx

// Skips the test if the program is missing, and names it.
#define VX_NEEDS(program)                                                                          \
    if (!::vx::HasProgram(program))                                                                \
    GTEST_SKIP() << "the program " << (program) << " is missing; see docs/building.md"
