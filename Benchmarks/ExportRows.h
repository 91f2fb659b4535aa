// The rows about volume-export, end to end: encrypted volumes, hash lists, very many files. Every
// name begins with "export of", by which they are selected.
#pragma once

#include <vector>

#include "Rows.h"

std::vector<Row> ExportRows(const BenchSetting &setting);
