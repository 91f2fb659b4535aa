#include "Combination.h"

#include "VolumeShelf.h"

#include <algorithm>
#include <set>

namespace vx {
namespace {

using Kind = FileSystemImage::Kind;

constexpr Program kPrograms[] = {Program::kExport, Program::kVerify, Program::kWindow};

const char *NameOf(Program program)
{
    switch (program) {
    case Program::kVerify:
        return "Verify";
    case Program::kWindow:
        return "Window";
    default:
        return "Export";
    }
}

bool IsPossible(const VolumeForm &form, SourceFault fault)
{
    const bool isNtfs = form.fileSystem == Kind::kNtfs && !form.isFolder;
    switch (fault) {
    case SourceFault::kNone:
        return true;
    case SourceFault::kRecord:
    case SourceFault::kPacked:
    case SourceFault::kSparse:
        return isNtfs && !form.withNames;
    case SourceFault::kTable:
        return !isNtfs && !form.isFolder && !form.withNames;
    case SourceFault::kEntry:
    case SourceFault::kBoot:
        return !form.isFolder && !form.withNames;
    default:
        return !form.withNames;
    }
}

bool IsPossible(const VolumeForm &form, DestinationCondition condition)
{
    switch (condition) {
    case DestinationCondition::kVolumeItself:
        return form.isFolder;
    case DestinationCondition::kIgnoresCase:
        return form.withNames || form.name == "Fat16Raw";
    default:
        return true;
    }
}

class Generator {
public:
    void AddFaults()
    {
        for (size_t i = 0; i < forms.size(); ++i) {
            for (size_t j = 0; j < AllSourceFaults().size(); ++j)
                Add(forms[i], AllSourceFaults()[j], DestinationCondition::kEmpty,
                    kPrograms[(i + j) % 3]);
        }
    }

    void AddConditions()
    {
        for (size_t i = 0; i < forms.size(); ++i) {
            for (size_t j = 0; j < AllConditions().size(); ++j)
                Add(forms[i], SourceFault::kNone, AllConditions()[j], kPrograms[(i + j) % 3]);
        }
    }

    void AddPairs()
    {
        size_t next = 0;
        for (const DestinationCondition condition : AllConditions()) {
            for (const SourceFault fault :
                 {SourceFault::kNone, SourceFault::kOneSector, SourceFault::kTransient,
                  SourceFault::kGoneInTheMiddle, SourceFault::kEntry}) {
                for (const Program program : kPrograms)
                    AddWithSomeVolume(fault, condition, program, next++);
            }
        }
    }

    std::vector<Combination> all;

private:
    void AddWithSomeVolume(SourceFault fault, DestinationCondition condition, Program program,
                           size_t first)
    {
        for (size_t i = 0; i < forms.size(); ++i) {
            if (Add(forms[(first + i) % forms.size()], fault, condition, program))
                return;
        }
    }

    bool Add(const VolumeForm &form, SourceFault fault, DestinationCondition condition,
             Program program)
    {
        if (!IsPossible(form, fault) || !IsPossible(form, condition))
            return false;
        const Combination one = {form.name, fault, condition, program};
        if (_known.insert(one.Name()).second)
            all.push_back(one);
        return true;
    }

    const std::vector<VolumeForm> &forms = VolumeShelf::Forms();
    std::set<std::string> _known;
};

}  // namespace

std::string Combination::Name() const
{
    return volume + "_" + vx::NameOf(fault) + "_" + vx::NameOf(condition) + "_" + NameOf(program);
}

std::vector<Combination> AllCombinations()
{
    Generator generator;
    generator.AddFaults();
    generator.AddConditions();
    generator.AddPairs();
    return generator.all;
}

}  // namespace vx
