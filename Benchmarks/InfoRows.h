// The row of volume-info.
#pragma once

#include "Rows.h"

std::vector<Row> InfoRows(const BenchSetting &setting);
