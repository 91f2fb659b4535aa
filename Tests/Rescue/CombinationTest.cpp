// Every combination holds the rule of Oracle.h.
#include "Combination.h"
#include "ToolRun.h"
#include "VolumeShelf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace vx {
namespace {

constexpr const char *kDeadlineSeconds = "25";
// Attempts at one bad place: one for each size of piece that a reader comes down through.
constexpr size_t kAttempts = 16;
// Of a failure, so that a thousand of them can be read.
constexpr size_t kToldViolations = 5;
constexpr size_t kToldBytes = 1500;

class Rescue : public testing::TestWithParam<Combination> {
protected:
    void Run(const RescueVolume &volume)
    {
        DestinationScene scene(GetParam().condition, volume);
        FaultPlan plan;
        if (!scene.Prepare(&plan))
            GTEST_SKIP() << "such a destination cannot be mounted here";
        const auto effect = AimAt(scene.Volume(), GetParam().fault, &plan);
        ASSERT_TRUE(effect) << "the volume has no such place";
        plan.Save(scene.At("faults"), DiskOf(scene.Volume()), scene.At("log"));

        Evidence evidence;
        evidence.before = FolderSnapshot(scene.Destination());
        evidence.bystandersBefore = scene.Bystanders();
        RunProgram(scene, &evidence);
        evidence.after = FolderSnapshot(scene.Destination());
        evidence.bystandersAfter = scene.Bystanders();
        Judge(scene, *effect, &evidence);
        JudgeAttempts(scene, *effect);
    }

private:
    // A folder goes with its files.
    static std::vector<std::string> DiskOf(const RescueVolume &volume)
    {
        std::vector<std::string> files = volume.parts;
        if (volume.isFolder)
            files.push_back(volume.path);
        return files;
    }

    static bool Speaks() { return GetParam().program != Program::kWindow; }

    void RunProgram(const DestinationScene &scene, Evidence *evidence)
    {
        const std::string faultyCalls = "LD_PRELOAD=" VX_FAULTY_CALLS;
        std::vector<std::string> words = {"-s",
                                          "KILL",
                                          kDeadlineSeconds,
                                          "env",
                                          faultyCalls,
                                          "VX_FAULTS=" + scene.At("faults"),
                                          "ASAN_OPTIONS=verify_asan_link_order=0:exitcode=77",
                                          "UBSAN_OPTIONS=exitcode=77"};
        for (const std::string &word : CommandOf(scene))
            words.push_back(word);
        ToolRun::Settings settings;
        settings.fileSizeLimit = scene.SizeLimit();
        ToolRun run("/usr/bin/timeout", words, settings);
        evidence->status = run.Wait();
        evidence->messages = run.Output() + "\n" + run.Errors();
    }

    static std::vector<std::string> CommandOf(const DestinationScene &scene)
    {
        const RescueVolume &volume = scene.Volume();
        if (!Speaks())
            return {VX_PROBE, volume.path, volume.unlockKind, volume.secret, scene.Destination()};
        std::vector<std::string> words = {VX_TOOL, "--to", scene.Destination()};
        if (GetParam().program == Program::kVerify)
            words.emplace_back("--verify");
        for (const std::string &word :
             {volume.path, std::string("--unlock"), volume.unlockKind, volume.secret})
            words.push_back(word);
        return words;
    }

    static void Judge(const DestinationScene &scene, const FaultEffect &effect, Evidence *evidence)
    {
        evidence->volume = &scene.Volume();
        evidence->speaks = Speaks();
        evidence->lost = effect.lost;
        evidence->mayLoseAny = effect.mayLoseAny;
        // A destination can fail before the disk is asked.
        const bool isGone = effect.isGone && !FaultPlan::ReadLog(scene.At("log")).empty();
        evidence->isGone = isGone;
        evidence->destinationFails = scene.Fails();
        evidence->stops = isGone || scene.IsFull();
        evidence->writesAreLost = scene.LosesWrites();
        evidence->ignoresCase = scene.IgnoresCase();
        evidence->readsAll = effect.badSectors == 0 && !effect.isGone && !scene.Fails() &&
                             scene.Volume().File(kLarge) != nullptr;
        const std::vector<std::string> violations = Oracle(*evidence).Judge();
        if (violations.empty())
            return;
        std::string told;
        for (size_t i = 0; i < std::min(violations.size(), kToldViolations); ++i)
            told += "  " + violations[i] + "\n";
        ADD_FAILURE() << violations.size() << " violations:\n"
                      << told << "status " << evidence->status << ", messages:\n"
                      << evidence->messages.substr(0, kToldBytes);
    }

    // A bad place is not tried again and again, and a wide one is not crept through.
    static void JudgeAttempts(const DestinationScene &scene, const FaultEffect &effect)
    {
        if (effect.isGone)
            return;
        const std::vector<FailedRead> reads = FaultPlan::ReadLog(scene.At("log"));
        std::map<std::pair<size_t, uint64_t>, size_t> attempts;
        for (const FailedRead &read : reads)
            ++attempts[{read.part, read.offset / kSectorBytes}];
        for (const auto &[place, count] : attempts)
            EXPECT_LE(count, kAttempts) << "failed reads at byte " << place.second * kSectorBytes;
        EXPECT_LE(reads.size(), kAttempts * 4 + effect.badSectors);
    }
};

TEST_P(Rescue, WhatArrivesIsRightOrNamed)
{
    const RescueVolume *volume = VolumeShelf::Get().VolumeOf(GetParam().volume);
    if (volume == nullptr)
        GTEST_SKIP() << "a program that makes the volume is missing; see docs/building.md";
    Run(*volume);
}

INSTANTIATE_TEST_SUITE_P(Combinations, Rescue, testing::ValuesIn(AllCombinations()),
                         [](const auto &tested) { return tested.param.Name(); });

}  // namespace
}  // namespace vx
