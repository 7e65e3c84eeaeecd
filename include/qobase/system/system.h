// Every public header of this subsystem: events, critical sections, child processes, timers, clocks and the environment.
#pragma once
