// The rows about images of virtual machines: the disk in them as a file, by volume-export --raw and
// by qemu-img. Every name begins with "image of", by which they are selected.
#pragma once

#include <vector>

#include "Rows.h"

std::vector<Row> ImageRows(const BenchSetting &setting);
