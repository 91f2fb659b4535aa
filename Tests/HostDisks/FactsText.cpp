#include "FactsText.h"

#include "ToolRun.h"

#include <sstream>
#include <stdexcept>

namespace vx {
namespace {

constexpr char kRead[] = R"py(
import json, sys
disk = json.loads(sys.argv[1])
def show(*values):
    print("|".join("" if value is None else str(value) for value in values))
show(disk["containerText"], disk["bytes"])
several = sum(volume["number"] is not None for volume in disk["volumes"]) > 1
for volume in disk["volumes"]:
    encryption = volume["encryption"] or {}
    address = disk["volume"]
    if volume["number"] is None:
        address += "@%d" % volume["offset"] if len(disk["volumes"]) > 1 else ""
    elif several:
        address += "#%d" % volume["number"]
    show(address, volume["bytes"], volume["label"], volume["kind"], volume["kindText"],
         volume["nextStep"], encryption.get("method"), encryption.get("state"),
         encryption.get("identifier"), encryption.get("description"),
         int(encryption.get("clearKey", False)))
    for protector in encryption.get("protectors", []):
        show(" ", protector["kind"], protector["kindText"], protector["identifier"],
             ",".join(protector["opensWith"]))
for warning in disk["warnings"]:
    show("warning", warning)
)py";

std::string Joined(const std::vector<std::string> &words)
{
    std::string joined;
    for (const std::string &word : words)
        joined += (joined.empty() ? "" : ",") + word;
    return joined;
}

void WriteVolume(const VolumeFacts &volume, std::ostream &text)
{
    text << volume.address << '|' << volume.bytes << '|' << volume.label << '|' << volume.kind
         << '|' << volume.kindText << '|' << volume.nextStep << '|' << volume.method << '|'
         << volume.state << '|' << volume.identifier << '|' << volume.description << '|'
         << volume.hasClearKey << '\n';
    for (const ProtectorFacts &protector : volume.protectors)
        text << " |" << protector.kind << '|' << protector.kindText << '|' << protector.identifier
             << '|' << Joined(protector.unlockKinds) << '\n';
}

std::string OutputOf(const std::string &program, const std::vector<std::string> &arguments)
{
    ToolRun run(program, arguments);
    if (run.Wait() != 0)
        throw std::runtime_error(program + ": " + run.Errors());
    return run.Output();
}

}  // namespace

std::string FactsText(const DiskFacts &facts)
{
    std::ostringstream text;
    text << facts.container << '|' << facts.bytes << '\n';
    for (const VolumeFacts &volume : facts.volumes)
        WriteVolume(volume, text);
    for (const std::string &warning : facts.warnings)
        text << "warning|" << warning << '\n';
    return text.str();
}

std::string FactsTextByPython(const std::string &infoProgram, const std::string &volume)
{
    const std::string report = OutputOf(infoProgram, {"--json", "--", volume});
    return OutputOf("/usr/bin/python3", {"-c", kRead, report});
}

}  // namespace vx
