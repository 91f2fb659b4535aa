// The argument vector that exec and spawn take: the program's path, the arguments, a null.
#pragma once

#include <string>
#include <vector>

namespace vx {

inline char *ArgumentOf(const char *text)
{
    return const_cast<char *>(text);
}

inline char *ArgumentOf(const std::string &text)
{
    return ArgumentOf(text.c_str());
}

// Borrows the texts, std::string or const char *, and leaves them as they are.
template <typename Text>
std::vector<char *> ArgumentVector(const std::string &program, const std::vector<Text> &arguments)
{
    std::vector<char *> vector{ArgumentOf(program)};
    for (const Text &argument : arguments)
        vector.push_back(ArgumentOf(argument));
    vector.push_back(nullptr);
    return vector;
}

}  // namespace vx
