// The rows about encrypted volumes, end to end.
#pragma once

#include <vector>

#include "Rows.h"

std::vector<Row> VolumeRows(const BenchSetting &setting);
