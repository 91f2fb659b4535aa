#include "MainThreadState.h"

#include <fstream>
#include <string>
#include <unistd.h>

// "4711 (name) S ...": the name may hold anything, a bracket too.
bool IsMainThreadWaiting()
{
    const std::string process = std::to_string(getpid());
    std::ifstream file("/proc/self/task/" + process + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t name = line.rfind(") ");
    return name != std::string::npos && line.compare(name + 2, 1, "S") == 0;
}
