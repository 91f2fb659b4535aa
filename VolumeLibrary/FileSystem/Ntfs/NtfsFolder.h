// Reads a folder of an NTFS volume: its index from the first name to the last. If the index is
// damaged, the other names follow, as the files' own records have them.
// Left out are short names, the file system's own files, names that no path could hold and names
// of another folder: blocks that several folders share are listed once.
// A name that the file's record does not have for this folder is damage. Its file is not opened by
// it; if no record has the name, it is shown at the end, and does not open.
// The fields of an entry come from the file's own record, or from the index if that is damaged.
#pragma once

#include "FileSystem.h"
#include "NtfsIndex.h"
#include "NtfsLostNames.h"

#include <map>
#include <set>

namespace vx {

class NtfsFolder final : public FolderReader {
public:
    // The size in the node of what the index calls a folder; 0 in other nodes.
    static constexpr uint64_t kIsFolder = 1;
    // Names that are shown although no record has them; of more the folder alone is reported.
    static constexpr size_t kMostRefused = 4096;

    // All that is borrowed must outlive the reader. folder: its sequence is 0 if it is not known.
    NtfsFolder(const NtfsMft &mft, const ByteSource &volume, const NtfsParents &parents,
               NtfsReference folder);
    // record: that of the folder; null if it is lost, and with it the index, for the reason.
    void Begin(const NtfsRecord *record, VolumeObstacle reason);

    // kError if the folder is damaged and nothing of it is left.
    VolumeListing::Step Next(FolderEntry *entry) override;
    void Describe(VolumeFindData *record) const override;
    VolumeListingReport Report() const override;

private:
    // The names that a file has in this folder, by HashOfName.
    struct OwnNames {
        std::set<uint64_t> here;
        bool mayHaveOthers = false;

        bool MayInclude(uint64_t name) const { return mayHaveOthers || here.count(name) != 0; }
    };

    bool NextOfIndex();
    bool NextLost();
    bool NextRefused();
    bool IsShown() const;
    bool IsOwn();
    bool IsNamedByRecord();
    OwnNames NamesOfRecord() const;
    void Refuse();
    void CheckShortNames();

    const NtfsMft &_mft;
    const ByteSource &_volume;
    const NtfsParents &_parents;
    const NtfsReference _folder;
    NtfsIndex _index;
    std::vector<uint32_t> _longNamed;      // numbers of files, as the index has them
    std::vector<uint32_t> _shortNamed;     // by a name for DOS
    std::map<uint64_t, OwnNames> _spread;  // by the numbers of files in several records
    std::map<std::string, NtfsIndexName> _refused;
    std::vector<uint64_t> _listed;  // NtfsLostNames::HashOf of each name of the index
    std::optional<NtfsLostNames> _lost;
    uint64_t _recovered = 0;
    bool _hasGivenEntry = false;
    NtfsReference _file = 0;
    NtfsIndexName _name;
    std::optional<NtfsRecord> _record;  // of that file
};

}  // namespace vx
