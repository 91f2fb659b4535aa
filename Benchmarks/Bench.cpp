// Prints the table of speed and memory: volume-bench PROGRAMS FOLDER [TURNS [WORD]]
//
// PROGRAMS is the folder with the programs, FOLDER one on the file system to measure. TURNS is
// how often each pair is measured, 5 without it; WORD picks the rows that hold it. Ends with 1
// if a row failed, missed its limit or could not be measured here.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "BenchData.h"
#include "ExportRows.h"
#include "ImageRows.h"
#include "InfoRows.h"
#include "MountRows.h"
#include "Rows.h"

namespace {

// Whether the row kept its limit.
bool Print(const Row &row)
{
    const RowResult result = row.measure();
    if (!result.leftOut.empty()) {
        printf("| %s | not measured: %s | | | %g | - |\n", row.what.c_str(), result.leftOut.c_str(),
               row.limit);
        return false;
    }
    if (!result.succeeded) {
        printf("| %s | failed | | | %g | no |\n", row.what.c_str(), row.limit);
        return false;
    }
    const bool kept = result.figure <= row.limit;
    printf("| %s | %s | %s | %.2f | %g | %s |\n", row.what.c_str(), result.ours.c_str(),
           result.against.c_str(), result.figure, row.limit, kept ? "yes" : "no");
    fflush(stdout);
    return kept;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: volume-bench PROGRAMS FOLDER [TURNS [WORD]]\n");
        return 2;
    }
    BenchData data(argv[2]);
    if (!data.Made()) {
        fprintf(stderr, "volume-bench: no folder can be made in %s\n", argv[2]);
        return 2;
    }
    const int turns = argc > 3 ? static_cast<int>(strtol(argv[3], nullptr, 10)) : 5;
    const std::string word = argc > 4 ? argv[4] : "";

    const BenchSetting setting = {data, argv[1], turns};
    std::vector<Row> rows = BenchRows(setting);
    for (auto *const more : {ExportRows, ImageRows, InfoRows, MountRows}) {
        for (Row &row : more(setting))
            rows.push_back(std::move(row));
    }
    bool kept = true;
    printf(
        "| What | Ours | Against | Figure | At most | Kept |\n| --- | --- | --- | --- | --- | --- |\n");
    for (const Row &row : rows) {
        if (row.what.find(word) != std::string::npos)
            kept = Print(row) && kept;
    }
    return kept ? 0 : 1;
}
