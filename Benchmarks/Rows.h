// The rows of the benchmark's table: each measures one promise about speed or memory.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "BenchData.h"
#include "ChildProcess.h"
#include "Comparison.h"

// What one row measured, ready to be printed.
struct RowResult {
    bool succeeded;
    std::string ours;
    std::string against;
    double figure;             // what is compared with the limit
    std::string leftOut = {};  // why it cannot be measured on this machine; empty: it was
};

struct Row {
    std::string what;
    double limit;  // the figure must not be above it
    std::function<RowResult()> measure;
};

struct BenchSetting {
    BenchData &data;
    std::string programs;  // the folder with the programs
    int turns;
};

std::vector<Row> BenchRows(const BenchSetting &setting);

// The rows of the application's window; empty where there is no virtual display.
std::vector<Row> WindowRows(const BenchSetting &setting);

RowResult RatioOf(const Comparison &comparison);
// The number at a place, counted from 0, of what a probe printed; negative: none.
double PrintedNumber(const ChildResult &result, int place);
