#include "FuseTree.h"

#include "UnixTime.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

constexpr double kForever = 1e9;  // seconds
// What programs read by at least. Larger pieces make cp slower: it does not write while it reads,
// and the kernel reads no more than 128 KiB ahead.
constexpr blksize_t kBestRead = 4096;
constexpr unsigned kMostReadsAhead = 64;
constexpr int64_t kLargestStored = 64 << 10;
constexpr int kMostStoring = FuseTree::kFewestThreads - 1;
constexpr int64_t kStatUnit = 512;
constexpr unsigned long kLongestName = 255;
// A folder with this number of links is one whose subfolders were not counted.
constexpr nlink_t kUncounted = 1;

mode_t ModeOf(ShownEntry::Kind kind)
{
    switch (kind) {
    case ShownEntry::Kind::kFolder:
        return S_IFDIR | 0555;
    case ShownEntry::Kind::kLink:
        return S_IFLNK | 0777;
    case ShownEntry::Kind::kFile:
        break;
    }
    return S_IFREG | 0444;
}

// A time that the volume does not have is the first of the system's.
timespec ShownTime(uint64_t fileTime)
{
    return fileTime == 0 ? timespec{0, 0} : TimeOf(fileTime);
}

timespec Now()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

void Want(fuse_conn_info *connection, unsigned capability)
{
    if ((connection->capable & capability) != 0)
        connection->want |= capability;
}

MountedFile *FileOf(const fuse_file_info *file)
{
    return reinterpret_cast<MountedFile *>(static_cast<uintptr_t>(file->fh));
}

// Each thread of the session has its own, which it keeps.
char *ReadBuffer(size_t count)
{
    thread_local std::vector<char> buffer;
    if (buffer.size() < count)
        buffer.resize(count);
    return buffer.data();
}

// The call's answer; out of memory is one, too.
template <typename Call>
void Answer(fuse_req_t request, Call call) noexcept
{
    try {
        call(*static_cast<FuseTree *>(fuse_req_userdata(request)));
    } catch (const std::bad_alloc &) {
        fuse_reply_err(request, ENOMEM);
    }
}

}  // namespace

struct FuseTree::Calls {
    static void Begin(void *, fuse_conn_info *connection);
    static void Look(fuse_req_t request, fuse_ino_t folder, const char *name)
    {
        Answer(request, [&](FuseTree &tree) { tree.Look(request, folder, name); });
    }
    static void Forget(fuse_req_t request, fuse_ino_t number, uint64_t count)
    {
        static_cast<FuseTree *>(fuse_req_userdata(request))->_volume.Forget(number, count);
        fuse_reply_none(request);
    }
    static void ForgetAll(fuse_req_t request, size_t count, fuse_forget_data *forgotten)
    {
        const auto *tree = static_cast<FuseTree *>(fuse_req_userdata(request));
        for (size_t i = 0; i < count; ++i)
            tree->_volume.Forget(forgotten[i].ino, forgotten[i].nlookup);
        fuse_reply_none(request);
    }
    static void Describe(fuse_req_t request, fuse_ino_t number, fuse_file_info *)
    {
        Answer(request, [&](FuseTree &tree) { tree.Describe(request, number); });
    }
    static void ReadLink(fuse_req_t request, fuse_ino_t number)
    {
        Answer(request, [&](FuseTree &tree) { tree.ReadLink(request, number); });
    }
    static void Open(fuse_req_t request, fuse_ino_t number, fuse_file_info *file)
    {
        Answer(request, [&](FuseTree &tree) { tree.Open(request, number, file); });
    }
    static void Read(fuse_req_t request, fuse_ino_t, size_t count, off_t position,
                     fuse_file_info *file)
    {
        Answer(request, [&](FuseTree &tree) { tree.Read(request, count, position, file); });
    }
    static void Close(fuse_req_t request, fuse_ino_t, fuse_file_info *file)
    {
        static_cast<FuseTree *>(fuse_req_userdata(request))->_files.Close(FileOf(file));
        fuse_reply_err(request, 0);
    }
    static void List(fuse_req_t request, fuse_ino_t number, size_t room, off_t from,
                     fuse_file_info *)
    {
        Answer(request, [&](FuseTree &tree) { tree.List(request, number, room, from, false); });
    }
    static void ListPlus(fuse_req_t request, fuse_ino_t number, size_t room, off_t from,
                         fuse_file_info *)
    {
        Answer(request, [&](FuseTree &tree) { tree.List(request, number, room, from, true); });
    }
    static void DescribeFileSystem(fuse_req_t request, fuse_ino_t)
    {
        Answer(request, [&](FuseTree &tree) { tree.DescribeFileSystem(request); });
    }
};

// What is not set here answers that it is not there, and the kernel does not ask again: opening
// folders, flushing files, extended attributes.
const fuse_lowlevel_ops &FuseTree::Operations()
{
    static const fuse_lowlevel_ops kOperations = [] {
        fuse_lowlevel_ops operations = {};
        operations.init = Calls::Begin;
        operations.lookup = Calls::Look;
        operations.forget = Calls::Forget;
        operations.forget_multi = Calls::ForgetAll;
        operations.getattr = Calls::Describe;
        operations.readlink = Calls::ReadLink;
        operations.open = Calls::Open;
        operations.read = Calls::Read;
        operations.release = Calls::Close;
        operations.readdir = Calls::List;
        operations.readdirplus = Calls::ListPlus;
        operations.statfs = Calls::DescribeFileSystem;
        return operations;
    }();
    return kOperations;
}

// Every listing brings what its entries are: a copy asks for that next.
void FuseTree::Calls::Begin(void *, fuse_conn_info *connection)
{
    connection->want &= ~(FUSE_CAP_READDIRPLUS_AUTO | FUSE_CAP_AUTO_INVAL_DATA |
                          FUSE_CAP_SPLICE_READ | FUSE_CAP_FLOCK_LOCKS | FUSE_CAP_POSIX_LOCKS);
    for (const unsigned capability :
         {FUSE_CAP_ASYNC_READ, FUSE_CAP_READDIRPLUS, FUSE_CAP_PARALLEL_DIROPS,
          FUSE_CAP_NO_OPENDIR_SUPPORT, FUSE_CAP_CACHE_SYMLINKS})
        Want(connection, capability);
    connection->max_read = kLargestRead;
    connection->max_background = kMostReadsAhead;
    connection->congestion_threshold = kMostReadsAhead;
}

FuseTree::FuseTree(MountedVolume &volume, const VolumeFileSystemReport &report)
    : _volume(volume), _report(report), _start(Now())
{
}

struct stat FuseTree::StatOf(MountedVolume::Number number, const ShownEntry &entry) const
{
    struct stat found = {};
    found.st_ino = number;
    found.st_mode = ModeOf(entry.kind);
    found.st_nlink = kUncounted;
    found.st_uid = getuid();
    found.st_gid = getgid();
    found.st_size = entry.size;
    found.st_blksize = kBestRead;
    found.st_blocks = entry.size / kStatUnit + (entry.size % kStatUnit != 0 ? 1 : 0);
    const bool isRoot = number == NodeTable::kRoot;
    found.st_mtim = isRoot ? _start : ShownTime(entry.modified);
    found.st_atim = isRoot ? _start : ShownTime(entry.accessed);
    found.st_ctim = found.st_mtim;
    return found;
}

fuse_entry_param FuseTree::EntryOf(const MountedVolume::Found &found) const
{
    fuse_entry_param entry = {};
    entry.ino = found.number;
    entry.attr = StatOf(found.number, found.entry);
    entry.attr_timeout = entry.entry_timeout = kForever;
    return entry;
}

void FuseTree::Look(fuse_req_t request, fuse_ino_t folder, const char *name)
{
    MountedVolume::Found found;
    const int error = _volume.Find(folder, name, &found);
    if (error == ENOENT) {
        fuse_entry_param nothing = {};
        nothing.entry_timeout = kForever;
        fuse_reply_entry(request, &nothing);
        return;
    }
    if (error != 0) {
        fuse_reply_err(request, error);
        return;
    }
    const fuse_entry_param entry = EntryOf(found);
    if (fuse_reply_entry(request, &entry) == -ENOENT)  // nobody waits for it any more
        _volume.Forget(found.number, 1);
}

void FuseTree::Describe(fuse_req_t request, fuse_ino_t number)
{
    ShownEntry entry;
    if (const int error = _volume.Describe(number, &entry)) {
        fuse_reply_err(request, error);
        return;
    }
    const struct stat found = StatOf(number, entry);
    fuse_reply_attr(request, &found, kForever);
}

// The entries of one reply, in the form that the kernel reads. Those that were described to it in
// full it holds, unless the reply does not reach it.
class FuseTree::ListReply {
public:
    ListReply(FuseTree &tree, fuse_req_t request, size_t room, bool isPlus)
        : _tree(tree), _request(request), _isPlus(isPlus), _bytes(room)
    {
    }
    ~ListReply()
    {
        for (const MountedVolume::Number number : _held)
            _tree._volume.Forget(number, 1);
    }
    ListReply(const ListReply &) = delete;
    ListReply &operator=(const ListReply &) = delete;

    // next: where a later reply goes on. False if there is no room for it.
    bool AddFolder(const char *name, fuse_ino_t number, off_t next)
    {
        fuse_entry_param entry = {};
        entry.attr.st_ino = number;
        entry.attr.st_mode = S_IFDIR;
        return Add(name, entry, next);
    }
    bool AddEntry(fuse_ino_t number, const ShownFolder &folder, size_t place, off_t next)
    {
        const std::string name(folder.NameOf(place));
        if (_isPlus)
            return AddInFull(name, _tree._volume.Enter(number, folder, place), next);
        fuse_entry_param entry = {};
        entry.attr.st_ino = _tree._volume.NumberOf(number, folder, place);
        entry.attr.st_mode = ModeOf(folder.At(place).kind);
        return Add(name.c_str(), entry, next);
    }
    bool IsEmpty() const { return _used == 0; }
    void Send()
    {
        if (fuse_reply_buf(_request, _bytes.data(), _used) == 0)
            _held.clear();
    }

private:
    bool AddInFull(const std::string &name, const MountedVolume::Found &found, off_t next)
    {
        if (!Add(name.c_str(), _tree.EntryOf(found), next)) {
            _tree._volume.Forget(found.number, 1);
            return false;
        }
        _held.push_back(found.number);
        return true;
    }
    bool Add(const char *name, const fuse_entry_param &entry, off_t next)
    {
        char *place = _bytes.data() + _used;
        const size_t left = _bytes.size() - _used;
        const size_t taken =
            _isPlus ? fuse_add_direntry_plus(_request, place, left, name, &entry, next)
                    : fuse_add_direntry(_request, place, left, name, &entry.attr, next);
        if (taken > left)
            return false;
        _used += taken;
        return true;
    }

    FuseTree &_tree;
    fuse_req_t _request;
    const bool _isPlus;
    std::vector<char> _bytes;
    size_t _used = 0;
    std::vector<MountedVolume::Number> _held;  // by a kernel that has not heard of them yet
};

// The folder itself and its parent come first. The end of a folder of which entries are missing
// is an error.
void FuseTree::List(fuse_req_t request, fuse_ino_t number, size_t room, off_t from, bool isPlus)
{
    constexpr off_t kOwnEntries = 2;
    MountedVolume::Folder folder;
    if (const int error = _volume.OpenFolder(number, &folder)) {
        fuse_reply_err(request, error);
        return;
    }
    ListReply reply(*this, request, room, isPlus);
    const auto end = static_cast<off_t>(folder->Size()) + kOwnEntries;
    bool hasRoom = true;
    for (off_t at = std::max<off_t>(from, 0); at < end && hasRoom; ++at) {
        if (at >= kOwnEntries)
            hasRoom =
                reply.AddEntry(number, *folder, static_cast<size_t>(at - kOwnEntries), at + 1);
        else if (at == 0)
            hasRoom = reply.AddFolder(".", number, at + 1);
        else
            hasRoom = reply.AddFolder("..", _volume.FolderOf(number), at + 1);
    }
    if (reply.IsEmpty() && !folder->IsWhole())
        fuse_reply_err(request, EIO);
    else
        reply.Send();
}

void FuseTree::Open(fuse_req_t request, fuse_ino_t number, fuse_file_info *file)
{
    std::unique_ptr<MountedFile> opened;
    bool hasOtherSize = false;
    bool isFirst = false;
    if (const int error = _volume.OpenFile(number, &opened, &hasOtherSize, &isFirst)) {
        fuse_reply_err(request, error);
        return;
    }
    // So that the kernel asks for the size again.
    if (hasOtherSize)
        fuse_lowlevel_notify_inval_inode(_session, number, -1, 0);
    else if (isFirst)
        Store(number, opened.get());
    MountedFile *held = _files.Hold(std::move(opened));
    file->fh = reinterpret_cast<uintptr_t>(held);
    file->keep_cache = 1;
    file->noflush = 1;
    if (fuse_reply_open(request, file) != 0)
        _files.Close(held);
}

// Brings a small file to the kernel before it asks for it. That waits for pages that are being
// read, by requests that wait for a thread, so some threads must be left for them.
void FuseTree::Store(fuse_ino_t number, MountedFile *file)
{
    const int64_t size = file->Size();
    if (size == 0 || size > kLargestStored)
        return;
    if (_storing.fetch_add(1) < kMostStoring) {
        char *buffer = ReadBuffer(kLargestStored);
        uint32_t done = 0;
        const bool isRead = file->Read(0, buffer, static_cast<uint32_t>(size), &done) == 0;
        fuse_bufvec bytes = FUSE_BUFVEC_INIT(static_cast<size_t>(size));
        bytes.buf[0].mem = buffer;
        if (isRead)
            fuse_lowlevel_notify_store(_session, number, 0, &bytes, FUSE_BUF_NO_SPLICE);
    }
    --_storing;
}

void FuseTree::Read(fuse_req_t request, size_t count, off_t position, const fuse_file_info *file)
{
    const size_t most = std::min<size_t>(count, kLargestRead);
    char *buffer = ReadBuffer(most);
    uint32_t done = 0;
    const int error = FileOf(file)->Read(position, buffer, static_cast<uint32_t>(most), &done);
    if (error != 0)
        fuse_reply_err(request, error);
    else
        fuse_reply_buf(request, buffer, done);
}

void FuseTree::ReadLink(fuse_req_t request, fuse_ino_t number)
{
    std::string target;
    if (const int error = _volume.ReadLink(number, &target))
        fuse_reply_err(request, error);
    else
        fuse_reply_readlink(request, target.c_str());
}

void FuseTree::DescribeFileSystem(fuse_req_t request) const
{
    struct statvfs found = {};
    found.f_bsize = found.f_frsize =
        _report.clusterBytes == 0 ? uint32_t{kStatUnit} : _report.clusterBytes;
    if (_report.totalBytes != kUnknownBytes)
        found.f_blocks = _report.totalBytes / found.f_frsize;
    if (_report.freeBytes != kUnknownBytes)
        found.f_bfree = found.f_bavail = _report.freeBytes / found.f_frsize;
    found.f_flag = ST_RDONLY;
    found.f_namemax = kLongestName;
    fuse_reply_statfs(request, &found);
}

}  // namespace vx
