// Every public header of this subsystem: interned strings, JSON values, the filtered data list, the
// assignment solver, edit distance.
#pragma once

#include <qobase/algorithms/filtered_data_list.h>
#include <qobase/algorithms/fnv_hash.h>
#include <qobase/algorithms/hungarian_algorithm.h>
#include <qobase/algorithms/levenshtein.h>
#include <qobase/algorithms/qo_json.h>
#include <qobase/algorithms/qo_variant.h>
#include <qobase/algorithms/ro_string.h>
