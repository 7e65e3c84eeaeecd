// Every public header of this subsystem: the string type, text operations, conversions and channel
// configuration names.
#pragma once

#include <qobase/strings/channel_config_names.h>
#include <qobase/strings/number_conversions.h>
#include <qobase/strings/regex_helpers.h>
#include <qobase/strings/std_str.h>
#include <qobase/strings/string_help.h>
