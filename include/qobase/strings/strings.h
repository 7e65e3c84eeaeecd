// Every public header of this subsystem: the string type, text operations, conversions and channel configuration names.
#pragma once

#include <qobase/strings/std_str.h>
