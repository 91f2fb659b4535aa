// Lists folders and files of a volume: rows for users, or JSON objects for programs.
//
// A row is type, size, date and path, in columns of fixed width without tabs. type is "file",
// "folder" or "link"; a link's size and date are those of what it leads to, if that is on the
// volume. EntryJson.h has the objects. Rows go to standard output as they are found, errors to
// standard error. Reading stops when the reader of the rows ends.
// What Choice.h leaves out is neither listed nor entered; what was named on the command line is.
// Folders are read from the volume anew, not from the catalogue, which does not keep all of a
// record; what was printed is not kept.
// Threads: main.
#pragma once

#include "Choice.h"
#include "EntryJson.h"
#include "Options.h"
#include "VolumeSelection.h"
#include "VolumeSession.h"

#include <vector>

namespace vx {

class ListCommand {
public:
    ListCommand(const VolumeSession &session, const Options &options);

    // The program's exit status.
    int Run();

private:
    // A folder whose entries are being printed.
    struct Level {
        size_t pathLength;  // of _path
        std::vector<FolderRecord> records;
        size_t next = 0;
    };

    void ListPath(const std::string &path);
    void ListFile(const NamedEntry &entry);
    void ListFolder(const NamedEntry &entry);
    void ListEntries(std::vector<FolderRecord> records);
    void ListEntry(const FolderRecord &record);
    bool IsLink(const FolderRecord &record, const std::u16string &path) const;
    bool IsEntered(const FolderRecord &record) const;
    std::optional<FolderRecords> Read(const std::u16string &path) const;

    void Print(const ListedEntry &entry);
    void PrintRow(const ListedEntry &entry);
    void PrintJson(ListedEntry entry);
    void NoteListing(const VolumeListingReport &report, const std::u16string &path);
    void NoteOutput();
    bool IsOutputLost() const { return _outputError != 0; }
    void Fail(const std::string &message);

    const VolumeSession &_session;
    const Options &_options;
    Choice _choice;
    const bool _isTerminal;
    const size_t _dateColumns;
    std::u16string _path;  // of what is being printed
    std::vector<Level> _levels;
    int _outputError = 0;  // an errno
    bool _hasFailed = false;
};

}  // namespace vx
