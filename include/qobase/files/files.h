// Every public header of this subsystem: paths, file handles, directory traversal and watching, file-system operations.
#pragma once

#include <qobase/files/directory_operations.h>
#include <qobase/files/file.h>
#include <qobase/files/path.h>
