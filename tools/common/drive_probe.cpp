#include "tools/common/drive_probe.h"

#include "disc/cd_utility.h"
#include "drive/cdrom_drive.h"

namespace lumadisc {

namespace {

constexpr int kInquirySize = 36;

std::string inquiryField(const uint8_t* bytes, int size) {
    std::string text;
    for (int i = 0; i < size; ++i) text += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : ' ';
    const size_t end = text.find_last_not_of(' ');
    return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

}  // namespace

DriveIdentity driveProbe(const char* path) {
    DriveIdentity identity;
    ScsiPassthrough& passthrough = scsiPassthrough();
    if (!passthrough.isOpticalDrive(path)) return identity;
    bool readOnly = false;
    const int handle = passthrough.open(path, &readOnly);
    if (handle < 0) return identity;
    identity.drive = true;
    SenseCodes sense;
    uint8_t inquiry[kInquirySize] = {};
    uint8_t block[kCommandBlockSize] = {0x12};
    writeBe16(block + 3, kInquirySize);
    if (passthrough.execute(handle, block, inquiry, kInquirySize, ScsiDirection::kFromDevice, kDriveTimeoutMs,
                            &sense) == 0) {
        identity.vendor = inquiryField(inquiry + 8, 8);
        identity.product = inquiryField(inquiry + 16, 16);
        identity.revision = inquiryField(inquiry + 32, 4);
    }
    const uint8_t ready[kCommandBlockSize] = {0x00};
    identity.discReady =
        passthrough.execute(handle, ready, nullptr, 0, ScsiDirection::kNone, kDriveTimeoutMs, &identity.notReady) == 0;
    passthrough.close(handle);
    return identity;
}

}  // namespace lumadisc
