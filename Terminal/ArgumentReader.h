// Reads a command line word by word. The options that every program has are the same in all:
// --help (-h), --version, --unlock KIND SECRET, and "--", after which no word is an option.
// "--option VALUE" and "--option=VALUE" mean the same; options and other words may be mixed. Names
// are not abbreviated.
//
// Ownership: borrows the arguments. One at a time in the process (getopt_long).
// Errors: one line without a line end, ready to follow "PROGRAM: ".
#pragma once

#include "Unlocking.h"

#include <getopt.h>

#include <string>
#include <vector>

namespace vx {

struct OptionName {
    const char *name;   // without its "--"
    const char *value;  // what it needs, e.g. "a path"; null if it takes no value
};

class ArgumentReader {
public:
    enum Found : int {
        kEnd,
        kError,
        kHelp,
        kVersion,
        kWord,       // no option
        kOwnOption,  // this and the index of one of the program's own options
    };

    // arguments: without the program's name.
    ArgumentReader(const std::vector<std::string> &arguments,
                   const std::vector<OptionName> &options);
    ~ArgumentReader();
    ArgumentReader(const ArgumentReader &) = delete;
    ArgumentReader &operator=(const ArgumentReader &) = delete;

    // What comes next; an enumerator, or one of the own options. Nothing is read after kEnd,
    // kError, kHelp and kVersion.
    int Next();

    // Of the word or the option that Next has found.
    const std::string &Value() const { return _value; }
    const std::string &Error() const { return _error; }
    // What --unlock has said so far, if it was there.
    const Unlocking &Unlock() const { return _unlocking; }
    bool HasUnlock() const { return _hasUnlock; }

private:
    bool IsKnown(const char *next);
    int NextCode();
    int TakeUnlock();
    int FailWithout(int code);
    int FailWithValue(int code);
    int Fail(const std::string &error);

    std::vector<OptionName> _names;
    std::vector<option> _options;  // those of _names, as getopt_long takes them
    std::vector<char *> _words;
    bool _optionsEnded = false;
    bool _hasUnlock = false;
    Unlocking _unlocking;
    std::string _value;
    std::string _error;
};

}  // namespace vx
