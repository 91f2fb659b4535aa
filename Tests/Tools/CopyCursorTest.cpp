// How files are dealt out to the workers of an export.
#include "CopyCursor.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace vx {
namespace {

class Dealing : public ::testing::Test {
protected:
    using Number = ExportPlan::Number;
    using Numbers = std::vector<Number>;

    Number AddFile(int64_t size)
    {
        PlanEntry entry;
        entry.size = size;
        return _plan.Add(ExportPlan::kRoot, entry, u"file");
    }
    Numbers Take(CopyCursor *cursor)
    {
        Numbers files;
        cursor->Take(&files);
        return files;
    }

    ExportPlan _plan;
};

TEST_F(Dealing, SmallNeighboursAreTakenTogetherAndFoldersAreSkipped)
{
    PlanEntry folder;
    folder.flags = PlanEntry::kIsFolder;
    const Number in = _plan.Add(ExportPlan::kRoot, folder, u"f");
    const Number first = AddFile(1);
    const Number inside = _plan.Add(in, PlanEntry(), u"inside");
    CopyCursor cursor(_plan);
    EXPECT_EQ(Take(&cursor), (Numbers{inside, first}));
    EXPECT_TRUE(Take(&cursor).empty());
}

TEST_F(Dealing, NoMoreThanAFewAreTakenTogether)
{
    for (size_t i = 0; i < CopyCursor::kMostTogether + 3; ++i)
        AddFile(0);
    CopyCursor cursor(_plan);
    EXPECT_EQ(Take(&cursor).size(), CopyCursor::kMostTogether);
    EXPECT_EQ(Take(&cursor).size(), 3u);
}

TEST_F(Dealing, TogetherTheyAreNotLarge)
{
    AddFile(CopyCursor::kLarge - 1);
    AddFile(1);
    AddFile(1);
    CopyCursor cursor(_plan);
    EXPECT_EQ(Take(&cursor).size(), 2u);
    EXPECT_EQ(Take(&cursor).size(), 1u);
}

TEST_F(Dealing, SizesThatNoFileHasAreNoTrouble)
{
    for (const int64_t size : {INT64_MIN, INT64_MIN, INT64_MAX, INT64_MAX, int64_t{-1}})
        AddFile(size);
    CopyCursor cursor(_plan);
    EXPECT_EQ(Take(&cursor).size(), 2u);
    cursor.GiveBack();
    EXPECT_EQ(Take(&cursor).size(), 1u);
    cursor.GiveBack();
    EXPECT_EQ(Take(&cursor).size(), 1u);
    cursor.GiveBack();
    EXPECT_EQ(Take(&cursor).size(), 1u);
}

TEST_F(Dealing, WhileALargeFileIsCopiedNothingElseIs)
{
    for (int i = 0; i < 200; ++i)
        AddFile(i % 7 == 0 ? CopyCursor::kLarge + 1 : 1);
    CopyCursor cursor(_plan);
    std::atomic<int> inside{0};
    std::atomic<int> files{0};
    std::atomic<bool> isBroken{false};
    const auto work = [&] {
        Numbers taken;
        while (cursor.Take(&taken)) {
            const bool isLarge = _plan.At(taken[0]).size > CopyCursor::kLarge;
            const int before = inside.fetch_add(1);
            if ((isLarge && (before != 0 || taken.size() != 1)))
                isBroken = true;
            std::this_thread::yield();
            if (isLarge && inside != 1)
                isBroken = true;
            files += static_cast<int>(taken.size());
            --inside;
            cursor.GiveBack();
        }
    };
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i)
        workers.emplace_back(work);
    for (std::thread &worker : workers)
        worker.join();
    EXPECT_FALSE(isBroken);
    EXPECT_EQ(files, 200);
}

TEST_F(Dealing, AnEndReleasesAWorkerThatWaits)
{
    AddFile(CopyCursor::kLarge + 1);
    AddFile(1);
    CopyCursor cursor(_plan);
    EXPECT_EQ(Take(&cursor).size(), 1u);
    std::thread waiting([&] { EXPECT_TRUE(Take(&cursor).empty()); });
    cursor.End();
    waiting.join();
}

}  // namespace
}  // namespace vx
