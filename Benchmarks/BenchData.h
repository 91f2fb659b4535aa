// The folders that the benchmark works on, made in a folder of its own and removed at the end.
#pragma once

#include <string>
#include <vector>

class BenchData {
public:
    // parent: an existing folder; the file system under it is the one that is measured.
    explicit BenchData(const std::string &parent);
    ~BenchData();
    BenchData(const BenchData &) = delete;
    BenchData &operator=(const BenchData &) = delete;

    bool Made() const { return !_folder.empty(); }
    const std::string &Folder() const { return _folder; }

    // Each makes its folder at the first call. An empty text: it could not be made.
    std::string OneLargeFile();  // one file of 2 GiB
    std::string OneGibibyte();   // one file of 1 GiB
    std::string OneGibibyteOfText();
    std::string ManySmallFiles();  // 20,000 files of 4 KiB in 200 folders
    std::string ManyEntries();     // 100,000 sparse files of many sizes and times
    // Empty files in folders of a thousand. thousands: how many of those.
    std::string EmptyFiles(unsigned thousands);
    std::string LikeADisk();  // 100 entries of many kinds, as at a disk's root
    std::string Empty();

    // A folder that does not exist, for a copy; what an earlier copy left there is removed, or
    // moved away until the end if it is many files, what is still to be written to the disk is
    // written, and free memory is filled.
    std::string FreshDestination();

private:
    bool MakeFolder(const std::string &folder) const;
    std::string OneFile(const std::string &name, const std::vector<char> &block, long long bytes);
    void ClearAway(const std::string &copy);

    std::string _folder;
    int _cleared = 0;
};

constexpr long long kLargeFileBytes = 2LL << 30;
