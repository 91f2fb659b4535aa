// The rows of the benchmark's table: each measures one promise about speed or memory.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "BenchData.h"

// What one row measured, ready to be printed.
struct RowResult {
    bool succeeded;
    std::string ours;
    std::string against;
    double figure;  // what is compared with the limit
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
