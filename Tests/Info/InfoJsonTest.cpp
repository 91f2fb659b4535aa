// The document for programs, as python3 reads it.
#include "InfoFixture.h"

namespace vx {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kSecret[] = "s3cret w\u00f6rd";

class InfoJson : public InfoTest {
protected:
    // The value of the expression for the disk, in which "d" is the document.
    std::string Of(const Arguments &arguments, const std::string &expression, int status = 0)
    {
        Arguments all = {"--json"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Result result = Run(all);
        EXPECT_EQ(result.status, status) << result.errors;
        return Json(result.output, expression);
    }
};

TEST_F(InfoJson, ADiskIsOneDocument)
{
    EXPECT_EQ(
        Of({"system disk"}, "{k: d[k] for k in d if k != 'volumes'}"),
        R"({"volume": "system disk", "container": "vhdx", "containerText": )"
        R"("a dynamic VHDX image", "bytes": 64424509440, "sectorBytes": 512, "table": "gpt", )"
        R"("opened": null, "warnings": ["a copy of the metadata is damaged"]})");
}

TEST_F(InfoJson, APartitionHasItsNumberPlaceAndKind)
{
    EXPECT_EQ(Of({"system disk"}, "d['volumes'][0]"),
              R"({"number": 1, "offset": 1048576, "bytes": 104857600, "kind": "fat", )"
              R"("kindText": "FAT32", "nextStep": null, "label": "SYSTEM", )"
              R"("partitionName": "EFI system partition", )"
              R"("partitionType": "EFI system partition", "encryption": null})");
    EXPECT_EQ(Of({"system disk"}, "[v['number'] for v in d['volumes']]"), "[1, null, 2, null]");
    EXPECT_EQ(Of({"system disk"}, "d['volumes'][3]['nextStep']"), "\"open it with cryptsetup\"");
}

TEST_F(InfoJson, AnEncryptedVolumeHasItsFactsProtectorsAndCopies)
{
    EXPECT_EQ(
        Of({"system disk"}, "{k: v for k, v in d['volumes'][2]['encryption'].items() "
                            "if k not in ('protectors', 'metadata', 'opensWith')}"),
        R"({"layout": "windows-7", "method": "AES-128-XTS", "state": "encrypting", )"
        R"("encryptedBytes": 16106127360, "sectorBytes": 512, "clearKey": false, )"
        R"("identifier": "ABCDEF01-1111-2222-3333-444455556666", )"
        R"("description": "LAPTOP C: 9/30/2020", "created": "2020-09-30T17:00:00.1234567Z"})");
    EXPECT_EQ(Of({"system disk"}, "d['volumes'][2]['encryption']['protectors'][1]"),
              R"({"kind": "recovery-password", "kindText": "recovery password", )"
              R"("kindNumber": 2048, "keyId": "5E6F7A8B", )"
              R"("identifier": "5E6F7A8B-1111-2222-3333-444455556666", )"
              R"("changed": "2020-09-30T17:00:00.1234567Z", )"
              R"("opensWith": ["recovery", "recovery-file", "key-ring"]})");
    EXPECT_EQ(Of({"system disk"}, "d['volumes'][2]['encryption']['opensWith']"),
              R"(["password", "recovery", "recovery-file", "key-ring", "vmk", "fvek"])");
    EXPECT_EQ(Of({"system disk"}, "d['volumes'][2]['encryption']['protectors'][2]['opensWith']"),
              "[]");
    EXPECT_EQ(Of({"system disk"}, "d['volumes'][2]['encryption']['metadata'][1]"),
              R"({"offset": 17179869184, "good": false, "problem": "its checksum is wrong"})");
}

TEST_F(InfoJson, WhatIsNotKnownIsNull)
{
    EXPECT_EQ(Of({"stick"}, "[d['sectorBytes'], d['table'], d['volumes'][0]['label']]"),
              "[null, null, null]");
    EXPECT_EQ(Of({"stick"}, "[d['volumes'][0]['encryption'][k] for k in "
                            "('sectorBytes', 'identifier', 'description', 'created')]"),
              "[null, null, null, null]");
}

TEST_F(InfoJson, AHostileDiskGivesAValidDocument)
{
    EXPECT_EQ(Of({"evil"}, "d['volumes'][0]['label']"),
              R"("\u001b[2J\u009b2J\u202etxt\nNo. 7\"\\")");
    EXPECT_EQ(Of({"evil"}, "d['bytes']"), "9223372036854775807");
    const std::string raw = Run({"--json", "evil"}).output;
    EXPECT_THAT(raw, Not(HasSubstr("\x1b")));
    EXPECT_THAT(raw, Not(HasSubstr("\u009b")));
}

TEST_F(InfoJson, AnOpenedVolumeHasItsFileSystem)
{
    EXPECT_EQ(Of({"system disk", "--unlock", "password", kSecret}, "d['opened']"),
              R"({"number": 2, "unlocking": {"kind": "password", "identifier": )"
              R"("1A2B3C4D-1111-2222-3333-444455556666", "method": "AES-128-XTS"}, )"
              R"("fileSystem": {"name": "NTFS 3.1", "label": "Data\u001b[2J", )"
              R"("serial": "1A2B-3C4D", "state": "in-use", "totalBytes": 42949672960, )"
              R"("freeBytes": 12884901888, "clusterBytes": 4096}})");
}

TEST_F(InfoJson, TheProtectorSaysWhichVolumeWasOpened)
{
    const Arguments opened = {"two volumes", "--unlock", "password", kSecret};
    EXPECT_EQ(Of(opened, "d['opened']['number']"), "2");
    EXPECT_EQ(Of({"two volumes", "--unlock", "fvek", "00ff"}, "d['opened']['number']"), "null");
}

TEST_F(InfoJson, RecoveryPasswordsAreThereOnlyIfAskedFor)
{
    EXPECT_EQ(Of({"system disk", "--unlock", "password", kSecret, "--show-recovery-password"},
                 "d['opened']['recoveryPasswords']"),
              R"([{"identifier": "5E6F7A8B-1111-2222-3333-444455556666", "password": )"
              R"("111111-222222-333333-444444-555555-666666-111111-222222"}])");
    EXPECT_EQ(Of({"system disk", "--unlock", "fvek", "00ff", "--show-recovery-password"},
                 "d['opened']['recoveryPasswords']", 1),
              "null");
}

TEST_F(InfoJson, AVolumeThatDoesNotOpenLeavesTheDescription)
{
    EXPECT_EQ(
        Of({"system disk", "--unlock", "password", "wrong"}, "[len(d['volumes']), d['opened']]", 3),
        "[4, null]");
}

}  // namespace
}  // namespace vx
