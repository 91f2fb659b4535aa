// The journal that keeps what has arrived when a run is killed.
#include "Journal.h"
#include "TemporaryFolder.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

ManifestRecord RecordOf(const std::string &path, uint8_t mark = 1)
{
    ManifestRecord record;
    record.digest.fill(mark);
    record.size = 5;
    record.modified = 132459588001234567;
    record.path = path;
    return record;
}

class JournalOf : public ::testing::Test {
protected:
    std::string Text() const { return _folder.ReadFile(".list.journal"); }

    void WriteEarlier(const std::vector<std::string> &paths)
    {
        Journal journal(_list, "/to");
        ASSERT_TRUE(journal.Begin(&_error)) << _error;
        for (const std::string &path : paths)
            ASSERT_TRUE(journal.Append(RecordOf(path)));
    }

    TemporaryFolder _folder;
    const std::string _list = _folder.At("list");
    const std::string _header = "# volume-export journal 1, destination /to\n";
    std::string _error;
    ManifestRecord _found;
};

TEST_F(JournalOf, ARunIsThereAtOnceAndIsFoundByTheNextOne)
{
    WriteEarlier({"a", "sub/b\n"});
    EXPECT_EQ(Text(), _header + TextOf(RecordOf("a")) + TextOf(RecordOf("sub/b\n")));
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Resume(&_error)) << _error;
    EXPECT_TRUE(journal.Find("sub/b\n", &_found));
    EXPECT_EQ(TextOf(_found), TextOf(RecordOf("sub/b\n")));
    EXPECT_FALSE(journal.Find("b", &_found));
    EXPECT_TRUE(journal.Append(RecordOf("c")));
    EXPECT_EQ(Text(), _header + TextOf(RecordOf("a")) + TextOf(RecordOf("sub/b\n")) +
                          TextOf(RecordOf("c")));
}

TEST_F(JournalOf, OfTwoRecordsOfAPathTheLaterOneCounts)
{
    WriteEarlier({"a", "b", "a"});
    {
        Journal journal(_list, "/to");
        ASSERT_TRUE(journal.Resume(&_error));
        ASSERT_TRUE(journal.Append(RecordOf("a", 9)));
    }
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Resume(&_error));
    ASSERT_TRUE(journal.Find("a", &_found));
    EXPECT_EQ(_found.digest[0], 9);
}

TEST_F(JournalOf, ATornEndIsDroppedBeforeTheNextRecord)
{
    const std::string torn = TextOf(RecordOf("torn"));
    for (size_t kept = 1; kept < torn.size(); ++kept) {
        _folder.WriteFile(".list.journal", _header + TextOf(RecordOf("a")) + torn.substr(0, kept));
        Journal journal(_list, "/to");
        ASSERT_TRUE(journal.Resume(&_error)) << _error;
        EXPECT_TRUE(journal.Find("a", &_found));
        EXPECT_FALSE(journal.Find("torn", &_found));
        ASSERT_TRUE(journal.Append(RecordOf("b")));
        ASSERT_EQ(Text(), _header + TextOf(RecordOf("a")) + TextOf(RecordOf("b")));
        journal.Remove();
    }
}

TEST_F(JournalOf, ZerosThatAPowerFailureLeavesAreDropped)
{
    _folder.WriteFile(".list.journal", _header + TextOf(RecordOf("a")) + std::string(4096, '\0'));
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Resume(&_error)) << _error;
    EXPECT_EQ(Text(), _header + TextOf(RecordOf("a")));
}

TEST_F(JournalOf, WithoutOneTheListOfTheLastRunIsTaken)
{
    _folder.WriteFile("list", TextOf(RecordOf("a")) + TextOf(RecordOf("b")));
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Resume(&_error)) << _error;
    EXPECT_TRUE(journal.Find("b", &_found));
    EXPECT_EQ(Text(), _header + TextOf(RecordOf("a")) + TextOf(RecordOf("b")));
}

TEST_F(JournalOf, AnUnfinishedStartIsBegunAgain)
{
    _folder.WriteFile("list", TextOf(RecordOf("a")));
    _folder.WriteFile(".list.journal", std::string(_header.size(), '\0') + "# size");
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Resume(&_error)) << _error;
    EXPECT_EQ(Text(), _header + TextOf(RecordOf("a")));
}

TEST_F(JournalOf, WithNeitherItBeginsEmpty)
{
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Resume(&_error)) << _error;
    EXPECT_EQ(Text(), _header);
}

TEST_F(JournalOf, ANewRunReplacesTheJournalOfAnEarlierOne)
{
    WriteEarlier({"a"});
    Journal journal(_list, "/elsewhere");
    ASSERT_TRUE(journal.Begin(&_error)) << _error;
    EXPECT_FALSE(journal.Find("a", &_found));
    EXPECT_EQ(Text(), "# volume-export journal 1, destination /elsewhere\n");
}

TEST_F(JournalOf, OfAnotherDestinationIsNotGoneOnWith)
{
    WriteEarlier({"a"});
    Journal journal(_list, "/elsewhere");
    EXPECT_FALSE(journal.Resume(&_error));
    EXPECT_EQ(_error, _folder.At(".list.journal") +
                          " belongs to an export to another destination; name another hash list");
    EXPECT_EQ(Text(), _header + TextOf(RecordOf("a")));
}

TEST_F(JournalOf, WhatIsNoJournalIsNeverWrittenOver)
{
    _folder.WriteFile(".list.journal", "mine\n");
    EXPECT_FALSE(Journal(_list, "/to").Begin(&_error));
    EXPECT_EQ(_error,
              _folder.At(".list.journal") + " is not a journal of this program; move it away");
    EXPECT_FALSE(Journal(_list, "/to").Resume(&_error));
    EXPECT_EQ(Text(), "mine\n");
}

TEST_F(JournalOf, AListOfAnotherKindIsNotTaken)
{
    _folder.WriteFile("list", "mine\n");
    Journal journal(_list, "/to");
    EXPECT_FALSE(journal.Resume(&_error));
    EXPECT_EQ(_error, _list + " is not a hash list; without --resume it is replaced");
    EXPECT_EQ(_folder.ReadFile("list"), "mine\n");
}

TEST_F(JournalOf, LinksAndFifosInItsPlaceAreNotOpened)
{
    const std::string other = _folder.WriteFile("other", "mine");
    _folder.MakeLink(".list.journal", other);
    EXPECT_FALSE(Journal(_list, "/to").Begin(&_error));
    EXPECT_EQ(_folder.ReadFile("other"), "mine");
    unlink(_folder.At(".list.journal").c_str());
    ASSERT_EQ(mkfifo(_folder.At(".list.journal").c_str(), 0600), 0);
    EXPECT_FALSE(Journal(_list, "/to").Begin(&_error));
    unlink(_folder.At(".list.journal").c_str());
    ASSERT_EQ(link(other.c_str(), _folder.At(".list.journal").c_str()), 0);
    EXPECT_FALSE(Journal(_list, "/to").Begin(&_error));
    EXPECT_EQ(_folder.ReadFile("other"), "mine");
}

TEST_F(JournalOf, TwoRunsDoNotWriteTheSameOne)
{
    Journal first(_list, "/to");
    ASSERT_TRUE(first.Begin(&_error));
    Journal second(_list, "/to");
    EXPECT_FALSE(second.Resume(&_error));
    EXPECT_EQ(_error, "another export is writing the hash list " + _list);
    first.Remove();
    EXPECT_TRUE(second.Resume(&_error)) << _error;
    EXPECT_EQ(Text(), _header);
}

TEST_F(JournalOf, ADiskWithoutRoomIsReportedAndLeavesWholeRecords)
{
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Begin(&_error));
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto ignored = signal(SIGXFSZ, SIG_IGN);
    const std::string record = TextOf(RecordOf("0"));
    // Room for two records and a half.
    const rlimit limit = {_header.size() + 2 * record.size() + record.size() / 2, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    const bool done[] = {journal.Append(RecordOf("0")), journal.Append(RecordOf("1")),
                         journal.Append(RecordOf("2"))};
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, ignored);
    EXPECT_TRUE(done[0] && done[1]);
    EXPECT_FALSE(done[2]);
    EXPECT_EQ(journal.FailureText(),
              "cannot write " + _folder.At(".list.journal") + ": File too large");
    EXPECT_EQ(Text(), _header + TextOf(RecordOf("0")) + TextOf(RecordOf("1")));
}

TEST_F(JournalOf, ManyThreadsAddAndSyncWithoutALoss)
{
    {
        Journal journal(_list, "/to");
        ASSERT_TRUE(journal.Begin(&_error));
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&journal, thread] {
                for (int i = 0; i < 25; ++i) {
                    EXPECT_TRUE(
                        journal.Append(RecordOf(std::to_string(thread) + "/" + std::to_string(i))));
                    EXPECT_TRUE(journal.Sync());
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(journal.FailureText(), "");
    }
    Journal journal(_list, "/to");
    ASSERT_TRUE(journal.Resume(&_error));
    for (int thread = 0; thread < 4; ++thread) {
        for (int i = 0; i < 25; ++i)
            EXPECT_TRUE(journal.Find(std::to_string(thread) + "/" + std::to_string(i), &_found));
    }
}

}  // namespace
}  // namespace vx
