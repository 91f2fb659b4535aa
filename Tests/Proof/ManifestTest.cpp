// The lines of a hash list, as the real sha256sum writes and checks them.
#include "ManifestFile.h"
#include "ManifestReader.h"
#include "TemporaryFolder.h"
#include "UniqueFd.h"

#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <vector>

namespace vx {
namespace {

constexpr uint64_t kTime = 132459588001234567;  // 2020-09-30T17:00:00.1234567Z

const std::vector<std::string> kOddNames = {
    "a.txt",   " lead",          "trail ",       "*star",    "#hash",         "back\\slash",
    "\\front", "line\nfeed",     "re\rturn",     "\\\n\r\\", "tab\tq\"",      "-",
    "--",      "\xE9 latin",     "\u00e9\u20ac", "sub/-",    "sub/in\\\nner", "\n",
    "a  b",    "SHA256 (x) = y",
};

struct Ran {
    int status;
    std::string output;
};

Ran RunIn(const std::string &folder, const std::string &command)
{
    FILE *pipe = popen(("cd '" + folder + "' && " + command + " 2>&1").c_str(), "r");
    Ran ran;
    char bytes[4096];
    for (size_t got = 0; (got = fread(bytes, 1, sizeof(bytes), pipe)) > 0;)
        ran.output.append(bytes, got);
    const int status = pclose(pipe);
    ran.status = WEXITSTATUS(status);
    return ran;
}

Sha256Digest HashOf(const std::string &contents)
{
    Sha256Stream stream;
    stream.Add(contents.data(), contents.size());
    return stream.Finish();
}

// The contents of each file are its own path.
ManifestRecord RecordOf(const std::string &path)
{
    ManifestRecord record;
    record.digest = HashOf(path);
    record.size = static_cast<int64_t>(path.size());
    record.modified = kTime;
    record.path = path;
    return record;
}

class Manifest : public ::testing::Test {
protected:
    void WriteOddFiles()
    {
        for (const std::string &name : kOddNames)
            _folder.WriteFile("to/" + name, name);
    }

    void WriteList(const std::vector<std::string> &paths)
    {
        size_t next = 0;
        const auto source = [&](ManifestRecord *record) {
            if (next == paths.size())
                return false;
            *record = RecordOf(paths[next++]);
            return true;
        };
        std::string error;
        ASSERT_TRUE(WriteManifest(_list, source, &error)) << error;
    }

    std::vector<ManifestRecord> ReadList()
    {
        const UniqueFd file(open(_list.c_str(), O_RDONLY | O_CLOEXEC));
        ManifestReader reader(file.Get(), 0, 16);
        std::vector<ManifestRecord> records;
        ManifestRecord record;
        while (reader.Next(&record))
            records.push_back(record);
        _isTorn = reader.IsTorn();
        _end = reader.End();
        return records;
    }

    TemporaryFolder _folder;
    const std::string _list = _folder.At("list");
    const std::string _to = _folder.MakeFolder("to");
    bool _isTorn = false;
    int64_t _end = 0;
};

TEST_F(Manifest, ARecordIsACommentAndALineOfSha256sum)
{
    EXPECT_EQ(TextOf(RecordOf("a")),
              "# size 1, modified 2020-09-30T17:00:00.1234567Z\n"
              "ca978112ca1bbdcafac231b39a23dc4da786eff8147c4e72b9807785afee48bb  a\n");
    ManifestRecord damaged = RecordOf("a\nb");
    damaged.isDamaged = true;
    damaged.modified = 0;
    EXPECT_EQ(TextOf(damaged),
              "# size 3, modified unknown, damaged\n\\" + HexText(damaged.digest) + "  a\\nb\n");
}

TEST_F(Manifest, Sha256sumWritesEveryOddNameInTheSameWay)
{
    WriteOddFiles();
    for (const std::string &name : kOddNames) {
        std::string quoted = name;
        for (size_t at = 0; (at = quoted.find('"', at)) != std::string::npos; at += 2)
            quoted.insert(at, "\\");
        const std::string text = TextOf(RecordOf(name));
        const std::string line = text.substr(text.find('\n') + 1);
        // It names standard input so.
        if (name == "-")
            continue;
        _folder.WriteFile("names", name + '\0');
        const Ran ran = RunIn(_to, "xargs -0 sha256sum -- < ../names");
        EXPECT_EQ(ran.output, line);
    }
}

TEST_F(Manifest, Sha256sumAcceptsTheListOfEveryOddName)
{
    WriteOddFiles();
    WriteList(kOddNames);
    const Ran ran = RunIn(_to, "sha256sum --check --strict --quiet ../list < /dev/null");
    EXPECT_EQ(ran.status, 0) << ran.output;
    EXPECT_EQ(ran.output, "");
}

TEST_F(Manifest, Sha256sumFindsTheOneFileThatChanged)
{
    WriteOddFiles();
    WriteList(kOddNames);
    _folder.WriteFile("to/back\\slash", "other");
    const Ran ran = RunIn(_to, "sha256sum --check --strict --quiet ../list");
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.output.find("back\\slash: FAILED"), std::string::npos) << ran.output;
    EXPECT_NE(ran.output.find("1 computed checksum did NOT match"), std::string::npos);
}

TEST_F(Manifest, WhatWasWrittenIsReadAgain)
{
    WriteList(kOddNames);
    const std::vector<ManifestRecord> records = ReadList();
    ASSERT_EQ(records.size(), kOddNames.size());
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].path, kOddNames[i]);
        EXPECT_EQ(TextOf(records[i]), TextOf(RecordOf(kOddNames[i])));
    }
    EXPECT_FALSE(_isTorn);
}

TEST_F(Manifest, DamageAndUnknownTimesAreReadAgain)
{
    ManifestRecord record = RecordOf("x");
    record.isDamaged = true;
    record.modified = 0;
    _folder.WriteFile("list", TextOf(record) + TextOf(RecordOf("y")));
    const auto records = ReadList();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[0].isDamaged);
    EXPECT_EQ(records[0].modified, 0u);
    EXPECT_FALSE(records[1].isDamaged);
    EXPECT_EQ(records[1].modified, kTime);
}

TEST_F(Manifest, HashesWithoutTheirCommentAndOtherCommentsAreSkipped)
{
    const std::string whole = TextOf(RecordOf("x"));
    const std::string sum = whole.substr(whole.find('\n') + 1);
    _folder.WriteFile("list", "# other\n" + sum + whole + "# size 1, modified never\n" + sum);
    EXPECT_EQ(ReadList().size(), 1u);
    EXPECT_FALSE(_isTorn);
}

// Wherever a write stopped, what was whole before is kept and the rest is not.
TEST_F(Manifest, EveryTornEndIsRecognised)
{
    const std::string first = TextOf(RecordOf("first"));
    const std::string second = TextOf(RecordOf("line\nfeed"));
    const size_t firstLine = second.find('\n') + 1;
    for (size_t kept = 0; kept < second.size(); ++kept) {
        _folder.WriteFile("list", first + second.substr(0, kept));
        const auto records = ReadList();
        ASSERT_EQ(records.size(), 1u) << kept;
        EXPECT_EQ(_end, static_cast<int64_t>(first.size())) << kept;
        EXPECT_EQ(_isTorn, kept != 0 && kept != firstLine) << kept;
    }
}

TEST_F(Manifest, WhatIsNoHashListEndsTheReading)
{
    const std::string sum = HexText(HashOf("x"));
    for (const std::string &line :
         {std::string("text"), std::string(""), sum, sum + " x", sum + "  ", "\\" + sum + "  a\\b",
          "\\" + sum + "  a\\", sum.substr(1) + "  x", std::string(300000, 'x'),
          sum + "  a" + std::string(1, '\0') + "b"}) {
        _folder.WriteFile("list", TextOf(RecordOf("a")) + line + "\n" + TextOf(RecordOf("b")));
        EXPECT_EQ(ReadList().size(), 1u) << line;
        EXPECT_TRUE(_isTorn) << line;
    }
}

TEST_F(Manifest, TheOldListStaysUntilTheNewOneIsComplete)
{
    _folder.WriteFile("list", "old");
    chmod(_list.c_str(), 0640);
    const auto source = [this, turn = 0](ManifestRecord *record) mutable {
        EXPECT_EQ(_folder.ReadFile("list"), "old");
        *record = RecordOf("a");
        return ++turn < 3;
    };
    std::string error;
    ASSERT_TRUE(WriteManifest(_list, source, &error)) << error;
    EXPECT_EQ(ReadList().size(), 2u);
    struct stat found;
    ASSERT_EQ(stat(_list.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0640u);
    EXPECT_NE(access(_folder.At(".list.partial").c_str(), F_OK), 0);
}

TEST_F(Manifest, WhatHasTheNameOfThePartialFileStays)
{
    _folder.WriteFile(".list.partial", "mine");
    _folder.MakeLink(".list.2.partial", _folder.WriteFile("other", "mine, too"));
    std::string error;
    const auto source = [turn = 0](ManifestRecord *record) mutable {
        *record = RecordOf("a");
        return ++turn < 2;
    };
    ASSERT_TRUE(WriteManifest(_list, source, &error)) << error;
    EXPECT_EQ(ReadList().size(), 1u);
    EXPECT_EQ(_folder.ReadFile(".list.partial"), "mine");
    EXPECT_EQ(_folder.ReadFile("other"), "mine, too");
    EXPECT_NE(access(_folder.At(".list.3.partial").c_str(), F_OK), 0);
}

TEST_F(Manifest, OfTwoRunsThatWriteItAtATimeTheLastOneWins)
{
    std::string error;
    const auto other = [turn = 0](ManifestRecord *record) mutable {
        *record = RecordOf("b");
        return ++turn < 2;
    };
    const auto source = [&, turn = 0](ManifestRecord *record) mutable {
        if (turn == 0) {
            EXPECT_TRUE(WriteManifest(_list, other, &error)) << error;
            EXPECT_EQ(ReadList().size(), 1u);
        }
        *record = RecordOf("a");
        return ++turn < 4;
    };
    ASSERT_TRUE(WriteManifest(_list, source, &error)) << error;
    EXPECT_EQ(ReadList().size(), 3u);
    EXPECT_FALSE(_isTorn);
}

}  // namespace
}  // namespace vx
