#include "InfoJson.h"

#include "IsoTime.h"
#include "JsonWriter.h"
#include "OpeningWays.h"
#include "ReportText.h"

#include <algorithm>
#include <sstream>

namespace vx {
namespace {

// Values by name; what is not known is null.
class Document {
public:
    void BeginObject(const char *name)
    {
        _json.Name(name);
        _json.BeginObject();
    }
    void BeginArray(const char *name)
    {
        _json.Name(name);
        _json.BeginArray();
    }
    void Text(const char *name, const std::string &text)
    {
        _json.Name(name);
        if (text.empty())
            _json.Null();
        else
            _json.Text(std::string_view(text));
    }
    void Number(const char *name, uint64_t number)
    {
        _json.Name(name);
        _json.Number(static_cast<int64_t>(std::min<uint64_t>(number, INT64_MAX)));
    }
    void NumberOrNull(const char *name, uint64_t number, uint64_t unknown = 0)
    {
        if (number != unknown)
            return Number(name, number);
        Null(name);
    }
    void Time(const char *name, uint64_t fileTime)
    {
        Text(name, fileTime == 0 ? "" : IsoTime(fileTime));
    }
    void Truth(const char *name, bool truth)
    {
        _json.Name(name);
        _json.Truth(truth);
    }
    void Null(const char *name)
    {
        _json.Name(name);
        _json.Null();
    }
    JsonWriter &Json() { return _json; }
    const std::string &Text() const { return _text; }

private:
    std::string _text;
    JsonWriter _json{[this](std::string_view text) { _text.append(text); }};
};

// "a b" -> ["a", "b"]
void WriteWords(const char *name, const char *words, Document *document)
{
    document->BeginArray(name);
    std::istringstream stream(words);
    for (std::string word; stream >> word;)
        document->Json().Text(std::string_view(word));
    document->Json().EndArray();
}

void WriteProtector(const DiskProtectorReport &protector, Document *document)
{
    document->Json().BeginObject();
    document->Text("kind", protector.kind);
    document->Text("kindText", protector.kindText);
    document->Number("kindNumber", protector.kindNumber);
    document->Text("keyId", KeyIdOf(protector.identifier));
    document->Text("identifier", protector.identifier);
    document->Time("changed", protector.changed);
    WriteWords("opensWith", protector.unlockKinds, document);
    document->Json().EndObject();
}

void WriteCopy(const DiskMetadataReport &copy, Document *document)
{
    document->Json().BeginObject();
    document->Number("offset", copy.offset);
    document->Truth("good", *copy.problem == '\0');
    document->Text("problem", copy.problem);
    document->Json().EndObject();
}

void WriteEncryption(const DiskEncryptionReport &encryption, Document *document)
{
    document->BeginObject("encryption");
    document->Text("layout", encryption.layout);
    document->Text("method", encryption.method);
    document->Text("state", encryption.state);
    document->NumberOrNull("encryptedBytes", encryption.encryptedBytes, kUnknownEncryptedBytes);
    document->NumberOrNull("sectorBytes", encryption.sectorBytes);
    document->Truth("clearKey", encryption.hasClearKey);
    document->BeginArray("opensWith");
    for (const std::string &kind : UnlockKindsOf(encryption))
        document->Json().Text(std::string_view(kind));
    document->Json().EndArray();
    document->Text("identifier", encryption.identifier);
    document->Text("description", encryption.description);
    document->Time("created", encryption.created);
    document->BeginArray("protectors");
    for (uint64_t i = 0; i < encryption.protectorCount; ++i)
        WriteProtector(encryption.protectors[i], document);
    document->Json().EndArray();
    document->BeginArray("metadata");
    for (uint64_t i = 0; i < encryption.copyCount; ++i)
        WriteCopy(encryption.copies[i], document);
    document->Json().EndArray();
    document->Json().EndObject();
}

void WriteVolume(const DiskVolumeReport &volume, Document *document)
{
    document->Json().BeginObject();
    document->NumberOrNull("number", volume.number);
    document->Number("offset", volume.offset);
    document->Number("bytes", volume.bytes);
    document->Text("kind", volume.kind);
    document->Text("kindText", volume.kindText);
    document->Text("nextStep", volume.nextStep);
    document->Text("label", volume.label);
    document->Text("partitionName", volume.partitionName);
    document->Text("partitionType", volume.partitionType);
    if (volume.encryption != nullptr)
        WriteEncryption(*volume.encryption, document);
    else
        document->Null("encryption");
    document->Json().EndObject();
}

void WriteUnlocking(const VolumeUnlockingReport *unlocking, Document *document)
{
    if (unlocking == nullptr)
        return document->Null("unlocking");
    document->BeginObject("unlocking");
    document->Text("kind", unlocking->kind);
    document->Text("identifier", unlocking->identifier);
    document->Text("method", unlocking->method);
    document->Json().EndObject();
}

void WriteFileSystem(const VolumeFileSystemReport *report, Document *document)
{
    if (report == nullptr)
        return document->Null("fileSystem");
    document->BeginObject("fileSystem");
    document->Text("name", report->name);
    document->Text("label", report->label);
    document->Text("serial", report->serial);
    document->Text("state", StateName(report->state));
    document->NumberOrNull("totalBytes", report->totalBytes, kUnknownBytes);
    document->NumberOrNull("freeBytes", report->freeBytes, kUnknownBytes);
    document->NumberOrNull("clusterBytes", report->clusterBytes);
    document->Json().EndObject();
}

void WritePasswords(const OpenedFacts &facts, Document *document)
{
    if (!facts.HasPasswords())
        return document->Null("recoveryPasswords");
    document->BeginArray("recoveryPasswords");
    for (const RecoveryPassword &password : facts.Passwords()) {
        document->Json().BeginObject();
        document->Text("identifier", password.identifier);
        document->Text("password", password.password);
        document->Json().EndObject();
    }
    document->Json().EndArray();
}

void WriteOpened(const DiskReport &report, const OpenedFacts *facts, bool withPasswords,
                 Document *document)
{
    if (facts == nullptr)
        return document->Null("opened");
    document->BeginObject("opened");
    const DiskVolumeReport *volume = OpenedVolumeOf(report, *facts);
    document->NumberOrNull("number", volume == nullptr ? 0 : volume->number);
    WriteUnlocking(facts->Unlocking(), document);
    WriteFileSystem(facts->FileSystem(), document);
    if (withPasswords)
        WritePasswords(*facts, document);
    document->Json().EndObject();
}

void WriteFinding(const FoundVolume &found, Document *document)
{
    document->Json().BeginObject();
    document->Number("offset", found.offset);
    document->NumberOrNull("bytes", found.bytes);
    document->Truth("bootSector", found.hasBootSector);
    document->Truth("inTable", found.isInTable);
    document->Text("address", found.address);
    document->Text("method", found.method);
    document->Text("identifier", found.identifier);
    document->Text("description", found.description);
    document->BeginArray("metadataOffsets");
    for (const uint64_t copy : found.copies)
        document->Json().Number(static_cast<int64_t>(copy));
    document->Json().EndArray();
    document->Json().EndObject();
}

}  // namespace

std::string DiskJson(const std::string &volume, const DiskReport &report, const OpenedFacts *facts,
                     bool withPasswords)
{
    Document document;
    document.Json().BeginObject();
    document.Text("volume", volume);
    document.Text("container", report.container);
    document.Text("containerText", report.containerText);
    document.Number("bytes", report.bytes);
    document.NumberOrNull("sectorBytes", report.sectorBytes);
    document.Text("table", report.table);
    document.BeginArray("volumes");
    for (uint64_t i = 0; i < report.volumeCount; ++i)
        WriteVolume(report.volumes[i], &document);
    document.Json().EndArray();
    WriteOpened(report, facts, withPasswords, &document);
    document.BeginArray("warnings");
    for (uint64_t i = 0; i < report.warningCount; ++i)
        document.Json().Text(std::string_view(report.warnings[i]));
    document.Json().EndArray();
    document.Json().EndObject();
    return document.Text();
}

std::string SearchJson(const std::string &disk, const DiskSearch &search)
{
    Document document;
    document.Json().BeginObject();
    document.Text("disk", disk);
    document.Truth("finished", search.status == 0);
    document.Number("unreadBytes", search.gaps.unreadBytes);
    document.Number("uncheckedCopies", search.gaps.uncheckedCopies);
    document.BeginArray("found");
    for (const FoundVolume &found : search.found)
        WriteFinding(found, &document);
    document.Json().EndArray();
    document.Json().EndObject();
    return document.Text();
}

}  // namespace vx
