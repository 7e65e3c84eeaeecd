// Every public header of this subsystem: WAVE records, audio file readers and writers, the CAF
// reader and the WAV chunk editor.
#pragma once

#include <qobase/audio/audio_file_extensions.h>
#include <qobase/audio/audio_file_reader.h>
#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_chunk_base.h>
#include <qobase/audio/wav_data_chunk.h>
#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/audio/wav_marker_chunks.h>
#include <qobase/audio/wav_structure_chunks.h>
#include <qobase/audio/wave_format.h>
