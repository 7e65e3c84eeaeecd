// Every public header of this subsystem: byte sources and sinks, the simple read stream, Base64 and
// GUID text.
#pragma once

#include <qobase/streams/base64.h>
#include <qobase/streams/byte_streams.h>
#include <qobase/streams/guid.h>
#include <qobase/streams/plugin_mem_alloc.h>
#include <qobase/streams/simple_stream.h>
