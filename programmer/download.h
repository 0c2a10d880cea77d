#pragma once

#include "image/memarea.h"

// Downloading what a stand-alone programmer works from. Application thread; each operation is a
// logged step with a box at its end, and ends disconnected. 0, or -1 with the process's exit status
// set to 1.

// Config and data file of the project. pArea: the image of the data window that has the focus, null
// without one. Holds APP_LOCK while the files are built.
int APP_DownloadConfigFiles(MEMAREA* pArea);
// The next serial number and, where there is one, the list of serial numbers: the files beside the
// project, see flash/serial_number.h. A missing file of the number is made from the project.
int APP_DownloadSNFiles();
