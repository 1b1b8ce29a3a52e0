// What a device is, asked without changing anything on it: whether it is an optical drive, who made
// it (INQUIRY) and whether a disc is ready in it (TEST UNIT READY).
#pragma once

#include <string>

#include "drive/scsi_passthrough.h"

namespace lumadisc {

struct DriveIdentity {
    bool drive = false;      // an optical drive that could be opened
    std::string vendor;      // INQUIRY fields, trailing blanks removed
    std::string product;
    std::string revision;
    bool discReady = false;  // TEST UNIT READY passed
    SenseCodes notReady;     // why not, when it did not
};

DriveIdentity driveProbe(const char* path);

}  // namespace lumadisc
