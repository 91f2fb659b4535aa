// The rows about volume-mount: what cp makes of a mounted volume. Every name begins with "mounted",
// by which they are selected.
#pragma once

#include <vector>

#include "Rows.h"

std::vector<Row> MountRows(const BenchSetting &setting);
