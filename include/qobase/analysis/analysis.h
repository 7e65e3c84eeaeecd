// Every public header of this subsystem: power spectra and note onset detection.
#pragma once
