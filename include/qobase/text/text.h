// Every public header of this subsystem: the XML and JSON writers, the XML reader and schema validation.
#pragma once
