// volume-trial: opens a volume for a host, on trial, and ends. Only a host starts it.
#include "ChannelEndWatch.h"
#include "CoreDumps.h"
#include "StandardDescriptors.h"
#include "ThreadChecks.h"
#include "TrialOpening.h"
#include "TrialProgram.h"

#include <cstdio>

namespace {

constexpr std::chrono::seconds kPatience(10);

int FailToStart()
{
    fputs("volume-trial: a host starts this program, to try a volume; there is nothing to use it "
          "for alone\n",
          stderr);
    return vx::kTrialWrongUse;
}

int Try(const char *library, vx::UniqueFd descriptor)
{
    const int number = descriptor.Get();
    vx::ChildChannel channel(std::move(descriptor));
    vx::TrialOpening opening(channel, library);
    vx::ChildChannel::Opening texts;
    if (!vx::EndWithChannel(number) || !channel.ReadOpening(&texts, kPatience))
        return vx::kTrialWrongUse;
    opening.Run(texts.Texts());
    (void)channel.SendKept(kPatience);
    return vx::kTrialOver;
}

}  // namespace

int main(int argc, char *argv[])
{
    vx::CheckThreads();
    if (!vx::HoldStandardDescriptors())
        return vx::kTrialWrongUse;
    // It holds keys.
    vx::ForbidCoreDumpsForGood();
    vx::UniqueFd channel = argc == 3 ? vx::ChildChannel::Inherited(argv[2]) : vx::UniqueFd();
    return channel ? Try(argv[1], std::move(channel)) : FailToStart();
}
