// Every public header of this subsystem: paths, file handles, directory traversal and watching,
// file-system operations.
#pragma once

#include <qobase/files/directory_operations.h>
#include <qobase/files/directory_watcher.h>
#include <qobase/files/file.h>
#include <qobase/files/file_extensions.h>
#include <qobase/files/file_help.h>
#include <qobase/files/file_operation.h>
#include <qobase/files/memory_mapped_file.h>
#include <qobase/files/no_case_string_comp.h>
#include <qobase/files/path.h>
#include <qobase/files/path_find.h>
