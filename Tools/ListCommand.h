// Lists folders and files of a volume: rows for people, or JSON objects for programs.
//
// A row is type, size, date and path, in columns of fixed width without tabs. type is "file",
// "folder" or "link"; a link's size and date are those of what it leads to, if that is on the
// volume. Rows go to standard output as they are found, what is wrong to standard error.
// Threads: main.
#pragma once

#include "Options.h"
#import "VolumeSession.h"

namespace vx {

class ListCommand {
public:
    ListCommand(const VolumeSession &session, const Options &options);

    // The program's exit status.
    int Run();

private:
    void ListPath(const std::string &path);
    void ListEntries(NSArray *entries);
    void PrintEntry(Z5FindData *entry) const;
    void PrintRow(Z5FindData *entry) const;
    void PrintJson(Z5FindData *entry) const;
    const char *TypeOf(Z5FindData *entry) const;
    void Fail(const std::string &message);

    const VolumeSession &_session;
    const Options &_options;
    const bool _isTerminal;
    const size_t _dateColumns;
    bool _hasFailed = false;
};

}  // namespace vx
