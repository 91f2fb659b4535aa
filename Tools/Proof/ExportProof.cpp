#include "ExportProof.h"

#include "DestinationTraits.h"
#include "Leftovers.h"
#include "LocalFile.h"
#include "ManifestFile.h"
#include "PartialNames.h"
#include "PlanNames.h"
#include "ProofPlace.h"
#include "ReportFile.h"
#include "SourceFiles.h"
#include "TerminalText.h"
#include "UniqueFd.h"
#include "UnplannedRecords.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace vx {
namespace {

static_assert(std::is_same_v<FileHash, Sha256Digest>);

class Sha256Hasher : public ChunkHasher {
public:
    void Begin() override { _stream.Restart(); }
    void Add(const void *bytes, size_t count) override { _stream.Add(bytes, count); }
    FileHash End() override { return _stream.Finish(); }

private:
    Sha256Stream _stream;
};

}  // namespace

ExportProof::ExportProof(const Options &options) : _options(options), _start(FileTimeNow()) {}

bool ExportProof::MayBegin(std::string *error) const
{
    if (!Sha256Stream::IsAvailable() && (!_options.manifest.empty() || _options.verify)) {
        *error = "--manifest and --verify need libcrypto, which this program was built without";
        return false;
    }
    std::vector<ProofFile> files;
    if (!_options.manifest.empty())
        files.push_back({"--manifest", _options.manifest});
    if (!_options.report.empty())
        files.push_back({"--report", _options.report});
    if (files.empty() && !_options.IsRaw())
        return true;
    SourceFiles sources(_options.volume, _options.keyPaths);
    sources.AddFile(_options.map);
    const auto isRead = [&sources](const struct stat &found) { return sources.Holds(found); };
    // Beside the file of --raw there is a place for what describes it.
    if (_options.IsRaw())
        files.push_back({"--raw", _options.raw});
    const std::string destination = _options.IsRaw() ? "" : _options.destination;
    return MayWrite(files, {destination, _options.volume, isRead}, error);
}

bool ExportProof::Ended(const PlannedExport &planned, const ExportReport &report, int status,
                        std::string *error)
{
    return _options.report.empty() ||
           WriteReportFile(_options.report,
                           {_options, planned, report, _warnings, _start, FileTimeNow(), status},
                           error);
}

// Without the volume it is not known which files it consists of.
bool ExportProof::EndedEarly(const std::string &reason, int status, std::string *error)
{
    if (!MayBecomeReport(_options.report)) {
        *error = "cannot write the report " + TerminalText(_options.report) +
                 ": a file that is no report is there, and the volume that was not opened may "
                 "consist of it";
        return false;
    }
    ExportReport report;
    report.errors.push_back(reason);
    return Ended(PlannedExport(), report, status, error);
}

bool ExportProof::LooksComplete(const PlanEntry &entry, const struct stat &found,
                                int64_t timeStep) const
{
    const EarlierCopies::Settings settings = {!_options.noTimes, timeStep, nullptr};
    return _options.resume &&
           EarlierCopies::HasSizeAndTime(entry, found, settings, !_options.manifest.empty());
}

// The volume itself is always written anew, so what is left of it is of no use.
void ExportProof::ClearLeftovers(const ExportScene &scene)
{
    if (_options.resume || _options.IsRaw())
        RemoveLeftovers(scene, PartialNames(scene.plan));
}

bool ExportProof::Begin(const ExportScene &scene, std::string *error)
{
    _plan = &scene.plan;
    _names = &scene.names;
    _tree = &scene.tree;
    if (!_options.manifest.empty()) {
        _journal = std::make_unique<Journal>(_options.manifest, scene.destination);
        if (!(_options.resume ? _journal->Resume(error) : _journal->Begin(error)))
            return false;
    }
    if (!_options.resume)
        return true;
    EarlierCopies::Settings settings;
    settings.comparesTimes = !_options.noTimes;
    settings.timeStep = scene.traits.timeStep;
    settings.journal = _journal.get();
    _earlier = std::make_unique<EarlierCopies>(scene.plan, scene.names, settings);
    return true;
}

bool ExportProof::IsAlreadyThere(ExportPlan::Number number, int folder, const std::string &name)
{
    ArrivedFiles::File file;
    if (!_earlier || !_earlier->IsComplete(number, folder, name, &file))
        return false;
    if (_journal)
        _files.Add(file);
    return true;
}

std::unique_ptr<ChunkHasher> ExportProof::MakeHasher()
{
    if (_options.manifest.empty() && !_options.verify)
        return nullptr;
    return std::make_unique<Sha256Hasher>();
}

int ExportProof::BeforeItIsPlaced(int file)
{
    return !_options.sync || fsync(file) == 0 ? 0 : errno;
}

void ExportProof::Arrived(const ArrivedFile &file)
{
    // Not every file system can sync a folder.
    if (_options.sync && fsync(file.folder) != 0 && errno != EINVAL)
        NoteError(errno);
    if (file.hash == nullptr)
        return;
    const std::string planned = PathOf(file.number);
    _files.Add({*file.hash, file.size, file.number, !file.isWhole},
               file.path == planned ? "" : file.path);
    if (!_journal)
        return;
    const bool isAdded = _journal->Append(
        {*file.hash, file.size, _plan->At(file.number).modified, !file.isWhole, file.path});
    if (isAdded && _options.sync)
        _journal->Sync();
}

void ExportProof::NoteError(int error)
{
    int none = 0;
    _folderError.compare_exchange_strong(none, error);
}

std::string ExportProof::PathOf(ExportPlan::Number number) const
{
    bool isChanged = false;
    return _names->PathOf(number, &isChanged);
}

std::string ExportProof::HashTextOf(ExportPlan::Number number) const
{
    const ArrivedFiles::File *file = _files.Find(number);
    return file == nullptr ? "" : HexText(file->digest);
}

std::string ExportProof::Difference(ExportPlan::Number number, int folder, const std::string &name,
                                    const Advance &advance)
{
    const ArrivedFiles::File *file = _files.Find(number);
    if (file == nullptr)
        return "";
    if (!_reader)
        _reader = std::make_unique<CopyOnDisk>();
    const UniqueFd copy = OpenArrived(folder, name);
    Sha256Digest digest = {};
    int64_t size = 0;
    auto end = CopyOnDisk::End::kFailed;
    if (copy && LeaveMemory(copy.Get()))
        end = _reader->Hash(copy.Get(), advance, &digest, &size);
    if (end == CopyOnDisk::End::kFailed)
        return std::string("its copy cannot be read again: ") + strerror(errno);
    if (end == CopyOnDisk::End::kStopped || (size == file->size && digest == file->digest))
        return "";
    return "its copy is not what was written to it: its SHA-256 is " + HexText(digest) +
           ", and should be " + HexText(file->digest);
}

bool ExportProof::Seal(bool isAtItsEnd, std::string *error)
{
    _files.Sort();
    if (_journal && !SealList(isAtItsEnd, error))
        return false;
    if (_folderError != 0)
        *error = std::string("a folder could not be made durable: ") + strerror(_folderError);
    return error->empty();
}

bool ExportProof::SealList(bool isAtItsEnd, std::string *error)
{
    if (!WriteList(error)) {
        *error += "; what has arrived is in " + TerminalText(_journal->Path());
        return false;
    }
    if (isAtItsEnd)
        _journal->Remove();
    *error = _journal->FailureText();
    return error->empty();
}

bool ExportProof::WriteList(std::string *error)
{
    auto next = _files.Files().begin();
    UnplannedRecords others(_journal->Earlier(), *_plan, *_names, *_tree);
    const auto source = [this, &next, &others](ManifestRecord *record) {
        if (next == _files.Files().end())
            return others.Next(record);
        const std::string other = _files.OtherPathOf(next->number);
        record->digest = next->digest;
        record->size = next->size;
        record->modified = _plan->At(next->number).modified;
        record->isDamaged = next->isDamaged;
        record->path = other.empty() ? PathOf(next->number) : other;
        ++next;
        return true;
    };
    return WriteManifest(_options.manifest, source, error);
}

}  // namespace vx
