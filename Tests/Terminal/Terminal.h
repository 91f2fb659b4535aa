// A terminal of a test: what the test types on one side, the program reads on the other.
#pragma once

#include <string>

class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    int Slave() const { return _slave; }
    std::string SlavePath() const { return _slavePath; }
    void Type(const std::string &text) const;
    // Whether what is typed is shown.
    bool Echoes() const;
    // Collects what the terminal shows until the text is in it. Returns all that was shown.
    std::string AwaitShown(const std::string &text);

private:
    int _master = -1;
    int _slave = -1;
    std::string _slavePath;
    std::string _shown;
};
