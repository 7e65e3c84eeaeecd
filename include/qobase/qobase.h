// The whole public interface of QOBase in one include.
#pragma once

#include <qobase/result_code.h>
#include <qobase/version.h>

#include <qobase/algorithms/algorithms.h>
#include <qobase/analysis/analysis.h>
#include <qobase/audio/audio.h>
#include <qobase/files/files.h>
#include <qobase/midi/midi.h>
#include <qobase/streams/streams.h>
#include <qobase/strings/strings.h>
#include <qobase/system/system.h>
#include <qobase/text/text.h>
