// Every public header of this subsystem: events, critical sections, child processes, timers,
// clocks, threads and the environment.
#pragma once

#include <qobase/system/critical_section.h>
#include <qobase/system/events.h>
#include <qobase/system/process.h>
#include <qobase/system/progress.h>
