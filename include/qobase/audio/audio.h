// Every public header of this subsystem: wAVE records, audio file readers and writers, the CAF reader and the WAV chunk editor.
#pragma once
