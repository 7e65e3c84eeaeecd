// Every public header of this subsystem: power spectra and note onset detection.
#pragma once

#include <qobase/analysis/fft_helper.h>
#include <qobase/analysis/onset_detector.h>
#include <qobase/analysis/onset_fft_context.h>
