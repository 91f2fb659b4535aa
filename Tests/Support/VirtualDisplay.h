// A display without a screen: an X server of the suite's own on the first free number, so that
// suites run side by side and on machines without a screen. The server ends with the object, and
// with the process if that dies. Start it on the main thread, before the first use of the window
// library.
#pragma once

#include <memory>
#include <string>
#include <sys/types.h>

namespace vxtest {

class VirtualDisplay {
public:
    // Starts the server and puts its name into DISPLAY. Null when it did not answer within a
    // minute.
    static std::unique_ptr<VirtualDisplay> Start(const std::string &screen = "1280x900x24");
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay &) = delete;
    VirtualDisplay &operator=(const VirtualDisplay &) = delete;

    // For example ":7".
    const std::string &Name() const { return m_name; }

private:
    VirtualDisplay(pid_t server, std::string name);

    pid_t m_server;
    std::string m_name;
};

}  // namespace vxtest
