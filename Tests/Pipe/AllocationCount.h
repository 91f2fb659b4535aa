// How many blocks of memory made by new are alive in the whole process.
#pragma once

long AllocationCount();
