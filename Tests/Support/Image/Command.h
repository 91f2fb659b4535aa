// Runs the programs of the system that make file systems and images.
#pragma once

#include <string>

namespace vx {

// Whether the program is on this machine, also where only the administrator has it in the path.
bool HasProgram(const std::string &name);

// Runs a line of the shell; a test failure with what it printed if it does not succeed.
bool RunShell(const std::string &line);

// The text as one word of the shell.
std::string Quoted(const std::string &text);

}  // namespace vx

// Leaves the test out, with a line that names the program, where that is missing.
#define VX_NEEDS(program)                                                                          \
    if (!::vx::HasProgram(program))                                                                \
    GTEST_SKIP() << "the program " << (program) << " is missing; see docs/building.md"
