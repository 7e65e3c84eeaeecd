// Every public header of this subsystem: standard MIDI File parsing and the MIDI file front.
#pragma once
