// Every public header of this subsystem: events, critical sections, child processes, timers, clocks and the environment.
#pragma once

#include <qobase/system/critical_section.h>
#include <qobase/system/progress.h>
