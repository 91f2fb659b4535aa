// A word of a command that is shown to be typed or copied.
#pragma once

#include <string>

namespace vx {

// As a shell reads it back: unchanged if that is possible, else in quotes. Characters that could
// drive the terminal are written as escapes, which bash, zsh and ksh read back.
// "disk.E01#2" → "disk.E01#2", "my disk" → "'my disk'", "a\n" → "$'a\\n'", "-x" → "./-x"
std::string ShellWord(const std::string &text);

}  // namespace vx
