// One run of a program: its arguments, what it prints, how it ends.
//
// Standard output and error go to pipes, or with everything else to a pseudo-terminal. Each wait
// has a deadline; a run that passes it is killed and throws, which fails the test.
// Threads: one at a time.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace vx {

struct ToolRunSettings {
    bool onTerminal = false;
    unsigned short columns = 80;           // of the terminal
    std::string input;                     // standard input, unless onTerminal
    unsigned long long fileSizeLimit = 0;  // bytes that a file may have; 0 for no limit
    bool withoutPrivileges = false;        // of the administrator, if the test has them
    std::string folder;                    // where it runs; empty: where the test does
    bool mayDumpCore = false;              // as much as the hard limit allows
};

class ToolRun {
public:
    using Settings = ToolRunSettings;

    ToolRun(const std::string &program, const std::vector<std::string> &arguments,
            const Settings &settings = {});
    ~ToolRun();
    ToolRun(const ToolRun &) = delete;
    ToolRun &operator=(const ToolRun &) = delete;

    // Waits until the output (on a terminal) or the error output contains the text.
    void AwaitText(const std::string &text);
    // Waits until the output contains the text.
    void AwaitOutput(const std::string &text) { Await(text, _output); }
    // Types on the terminal.
    void Type(const std::string &text);
    void Send(int signal);
    pid_t Process() const { return _process; }
    // Whether the terminal echoes what is typed.
    bool Echoes() const;

    // Waits for the end. The exit status, or minus the number of the signal that ended it.
    int Wait();
    // Whether a signal ended it with a core dump. After Wait.
    bool DumpedCore() const { return _dumpedCore; }
    // What was printed until now, all of it after Wait. On a terminal all is in Output.
    const std::string &Output() const { return _output; }
    const std::string &Errors() const { return _errors; }

private:
    void StartOnPipes(const std::string &program, std::vector<char *> &arguments,
                      const Settings &settings);
    void StartOnTerminal(const std::string &program, std::vector<char *> &arguments,
                         const Settings &settings);
    void Await(const std::string &text, const std::string &where);
    // Takes what has been printed, waiting for it; false when both ends were closed.
    bool Take();
    [[noreturn]] void FailLate(const std::string &what);

    pid_t _process = -1;
    bool _dumpedCore = false;
    int _outputEnd = -1;
    int _errorEnd = -1;
    std::string _output;
    std::string _errors;
};

}  // namespace vx
