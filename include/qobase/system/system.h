// Every public header of this subsystem: events, critical sections, child processes, timers,
// clocks, threads and the environment.
#pragma once

#include <qobase/system/clock.h>
#include <qobase/system/critical_section.h>
#include <qobase/system/environment.h>
#include <qobase/system/events.h>
#include <qobase/system/locale_helpers.h>
#include <qobase/system/process.h>
#include <qobase/system/progress.h>
#include <qobase/system/thread.h>
#include <qobase/system/timer.h>
#include <qobase/system/timer_source.h>
