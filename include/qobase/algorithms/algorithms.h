// Every public header of this subsystem: interned strings, JSON values, the filtered data list, the assignment solver, edit distance.
#pragma once

#include <qobase/algorithms/fnv_hash.h>
#include <qobase/algorithms/hungarian_algorithm.h>
#include <qobase/algorithms/levenshtein.h>
