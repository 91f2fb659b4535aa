// The journal of a hash list: every file is added when it has arrived, so that a run that is killed
// loses nothing. It lies beside the list as ".NAME.journal" until an export has come to the end of
// its plan, and has the same lines, after a first one that names the destination. A last line that
// was not written whole is recognised and dropped.
//
// Ownership: owns the open file, locked against other runs. Threads: one that opens and ends it;
// Append, Sync and Find from any in between. Errors: one line, ready to follow "volume-export: ".
#pragma once

#include "EarlierRecords.h"
#include "Mutex.h"
#include "UniqueFd.h"

#include <string>

namespace vx {

class Journal {
public:
    // list: the path of the hash list. destination: as it is known to the user, in bytes.
    Journal(std::string list, std::string destination);

    // Begins an empty journal in place of an earlier one.
    bool Begin(std::string *error);
    // Goes on with the journal of an earlier run, or with its list if it has left no journal.
    bool Resume(std::string *error);

    // What the earlier runs say about a path; nothing after Begin.
    bool Find(const std::string &path, ManifestRecord *record) const
    {
        return _earlier.Find(path, record);
    }
    // The same, as a whole.
    const EarlierRecords &Earlier() const { return _earlier; }

    // False: the record is not in the journal, and FailureText says why, from then on.
    bool Append(const ManifestRecord &record);
    // Makes all that was added before durable. Several threads share one turn.
    bool Sync();
    // Empty as long as every record was added.
    std::string FailureText() const;

    // Deletes the journal.
    void Remove();

    // ".NAME.journal" beside the list.
    const std::string &Path() const { return _path; }

private:
    bool Open(std::string *error);
    bool OpenOnce(bool *isStale, std::string *error);
    bool TakeOver(std::string *error);
    bool TakeList(std::string *error);
    bool WriteHeader(std::string *error);
    bool Write(const std::string &text, int64_t offset);
    std::string Header() const;

    const std::string _list;
    const std::string _destination;
    const std::string _path;
    UniqueFd _file;
    bool _isEmpty = true;  // as it was opened
    EarlierRecords _earlier;

    mutable Mutex _mutex;
    Condition _synced;
    int64_t _end VX_GUARDED_BY(_mutex) = 0;         // in bytes, as are the next two
    int64_t _durableEnd VX_GUARDED_BY(_mutex) = 0;  //
    bool _isSyncing VX_GUARDED_BY(_mutex) = false;
    int _error VX_GUARDED_BY(_mutex) = 0;  // errno of the first failure
};

}  // namespace vx
