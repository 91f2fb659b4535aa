#include "StartThread.h"

#include <system_error>

namespace vx {

std::thread StartThread(std::function<void()> run)
{
    try {
        return std::thread(std::move(run));
    } catch (const std::system_error &) {
        return {};
    }
}

}  // namespace vx
