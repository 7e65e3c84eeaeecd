// Every public header of this subsystem: paths, file handles, directory traversal and watching, file-system operations.
#pragma once
