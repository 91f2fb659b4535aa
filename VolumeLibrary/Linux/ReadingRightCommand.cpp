#include "ReadingRightCommand.h"

namespace vx {

std::string ReadingRightCommand(const std::string &user, const std::string &device)
{
    return "sudo setfacl -m u:" + user + ":r " + device;
}

}  // namespace vx
