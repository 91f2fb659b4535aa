#include "PartialNames.h"

#include "NameForms.h"

namespace vx {
namespace {

constexpr char kEnding[] = "partial";

// What is left of it if a destination ignores case, marks and the ends of names.
template <typename Text>
std::string Core(const Text &name)
{
    std::string core;
    for (const auto unit : name) {
        if (unit >= 'A' && unit <= 'Z')
            core += static_cast<char>(unit - 'A' + 'a');
        else if ((unit >= 'a' && unit <= 'z') || (unit >= '0' && unit <= '9'))
            core += static_cast<char>(unit);
    }
    return core;
}

bool EndsPartially(const std::string &core)
{
    constexpr size_t kLength = sizeof(kEnding) - 1;
    return core.size() >= kLength && core.compare(core.size() - kLength, kLength, kEnding) == 0;
}

}  // namespace

PartialNames::PartialNames(const ExportPlan &plan)
{
    for (ExportPlan::Number number = 0; number < plan.Size(); ++number) {
        const std::u16string_view name = plan.NameOf(number);
        if (plan.At(number).IsFolder() || name.empty() || name[0] != u'.')
            continue;
        const std::string core = Core(name);
        if (EndsPartially(core))
            _planned.insert(core);
    }
}

bool PartialNames::IsFree(const std::string &name) const
{
    return _planned.empty() || _planned.count(Core(name)) == 0;
}

}  // namespace vx
