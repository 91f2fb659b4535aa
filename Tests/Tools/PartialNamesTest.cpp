// Which hidden names files may have while they arrive.
#include "PartialNames.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(PartialNames, ANameThatThePlanHasIsNotFree)
{
    ExportPlan plan;
    plan.Add(ExportPlan::kRoot, PlanEntry(), u".a.txt.partial");
    plan.Add(ExportPlan::kRoot, PlanEntry(), u"b.txt");
    const PartialNames names(plan);
    EXPECT_FALSE(names.IsFree(".a.txt.partial"));
    EXPECT_TRUE(names.IsFree(".a.txt.2.partial"));
    EXPECT_TRUE(names.IsFree(".b.txt.partial"));
}

TEST(PartialNames, OneThatADestinationMayTakeForItIsNotFreeEither)
{
    ExportPlan plan;
    plan.Add(ExportPlan::kRoot, PlanEntry(), u".A.TXT.Partial. ");
    plan.Add(ExportPlan::kRoot, PlanEntry(), u".caf\u00e9.partial");
    const PartialNames names(plan);
    EXPECT_FALSE(names.IsFree(".a.txt.partial"));
    EXPECT_FALSE(names.IsFree(".caf\u00c9.partial"));
}

TEST(PartialNames, WithoutSuchAFileEveryNameIsFree)
{
    ExportPlan plan;
    plan.Add(ExportPlan::kRoot, PlanEntry(), u"partial");
    EXPECT_TRUE(PartialNames(plan).IsFree(".a.partial"));
    EXPECT_TRUE(PartialNames().IsFree(".a.partial"));
}

}  // namespace
}  // namespace vx
