// Every public header of this subsystem: the XML and JSON writers, the XML reader and schema validation.
#pragma once

#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_validation.h>
