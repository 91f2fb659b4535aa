// The device files of macOS have no access lists, so every user of the Mac gets the right.
#include "ReadingRightCommand.h"

namespace vx {

std::string ReadingRightCommand(const std::string &, const std::string &device)
{
    return "sudo chmod o+r " + device;
}

}  // namespace vx
