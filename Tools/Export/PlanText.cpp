#include "PlanText.h"

#include "TerminalText.h"
#include "Unicode.h"

namespace vx {

std::string ShownPathOf(const ExportPlan &plan, ExportPlan::Number number)
{
    if (number == ExportPlan::kRoot)
        return "/";
    if (IsUtf16(plan.NameOf(number)))
        return TerminalText(plan.PathOf(number));
    return TerminalText(plan.PathOf(plan.At(number).parent)) + "/?";
}

}  // namespace vx
