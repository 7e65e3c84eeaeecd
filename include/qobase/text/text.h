// Every public header of this subsystem: the XML and JSON writers, the XML reader, schema
// validation and its report of every problem found.
#pragma once

#include <qobase/text/json_text_writer.h>
#include <qobase/text/text_writer_buffer.h>
#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>
#include <qobase/text/xml_validation.h>
#include <qobase/text/xml_validation_report.h>
