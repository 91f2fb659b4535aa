#include "FaultPlan.h"

#include <fstream>

namespace vx {
namespace {

std::string Joined(const std::vector<std::string> &words)
{
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "" : "\t") + word;
    return line;
}

}  // namespace

void FaultPlan::Bad(const Spot &spot, int error, int times, unsigned milliseconds)
{
    Add(Joined({"bad", std::to_string(spot.part), std::to_string(spot.from),
                std::to_string(spot.to), std::to_string(error), std::to_string(times),
                std::to_string(milliseconds)}));
}

void FaultPlan::Gone(const Spot &spot, int error)
{
    Add(Joined({"gone", std::to_string(spot.part), std::to_string(spot.from),
                std::to_string(spot.to), std::to_string(error)}));
}

void FaultPlan::Room(uint64_t bytes, int error)
{
    Add(Joined({"room", std::to_string(bytes), std::to_string(error)}));
}

void FaultPlan::Hiccup(int write, int error)
{
    Add(Joined({"hiccup", std::to_string(write), std::to_string(error)}));
}

void FaultPlan::Save(const std::string &path, const std::vector<std::string> &parts,
                     const std::string &log) const
{
    std::ofstream file(path);
    for (const std::string &part : parts)
        file << "image\t" << part << "\n";
    file << "log\t" << log << "\n" << _lines;
}

std::vector<FailedRead> FaultPlan::ReadLog(const std::string &log)
{
    std::vector<FailedRead> reads;
    std::ifstream file(log);
    FailedRead read;
    while (file >> read.part >> read.offset)
        reads.push_back(read);
    return reads;
}

}  // namespace vx
