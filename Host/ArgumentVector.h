// The argument vector that exec and spawn take: the program's path, the arguments, a null.
#pragma once

#include <string>
#include <vector>

namespace vx {

// The texts are borrowed, and nobody writes to them.
inline std::vector<char *> ArgumentVector(const std::string &program,
                                          const std::vector<std::string> &arguments)
{
    std::vector<char *> vector{const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        vector.push_back(const_cast<char *>(argument.c_str()));
    vector.push_back(nullptr);
    return vector;
}

}  // namespace vx
