// File-name extensions of the audio files the reader factory opens, leading dot included.
#pragma once

#include <qobase/strings/std_str.h>

extern const CStdStr s_csOriginalFileExtAmb;  // ".amb", ambisonic WAVE
extern const CStdStr s_csOriginalFileExtWav;  // ".wav"
extern const CStdStr s_csOriginalFileExtZem;  // ".zem", the tool's converted WAVE files
