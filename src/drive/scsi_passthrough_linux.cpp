// SCSI pass-through on Linux: the device node itself, CDROM_GET_CAPABILITY to recognise an optical
// drive, and SG_IO for every command block.
#include <fcntl.h>
#include <linux/cdrom.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "drive/scsi_passthrough.h"
#include "drive/sense_messages.h"

namespace lumadisc {

namespace {

constexpr int kSenseBufferSize = 64;

class LinuxPassthrough final : public ScsiPassthrough {
public:
    bool isOpticalDrive(const char* path) override {
        const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) return false;
        struct stat status {};
        bool drive = fstat(fd, &status) == 0 && (S_ISBLK(status.st_mode) || S_ISCHR(status.st_mode)) &&
                     ioctl(fd, CDROM_GET_CAPABILITY, 0) >= 0;
        ::close(fd);
        return drive;
    }

    int open(const char* path, bool* readOnly) override {
        *readOnly = false;
        int fd = ::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0 && (errno == EACCES || errno == EROFS || errno == EPERM)) {
            fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
            *readOnly = fd >= 0;
        }
        return fd;
    }

    int execute(int handle, const uint8_t* commandBlock, uint8_t* buffer, uint32_t length,
                ScsiDirection direction, uint32_t timeoutMs, SenseCodes* sense) override {
        *sense = SenseCodes{};
        uint8_t block[kCommandBlockSize];
        for (int i = 0; i < kCommandBlockSize; ++i) block[i] = commandBlock[i];
        uint8_t senseBytes[kSenseBufferSize] = {};
        sg_io_hdr_t io{};
        io.interface_id = 'S';
        io.cmd_len = kCommandBlockSize;
        io.cmdp = block;
        io.dxfer_direction = direction == ScsiDirection::kFromDevice ? SG_DXFER_FROM_DEV
                             : direction == ScsiDirection::kToDevice ? SG_DXFER_TO_DEV
                                                                     : SG_DXFER_NONE;
        io.dxferp = length > 0 ? buffer : nullptr;
        io.dxfer_len = length;
        io.mx_sb_len = sizeof senseBytes;
        io.sbp = senseBytes;
        io.timeout = timeoutMs;
        if (handle < 0 || ioctl(handle, SG_IO, &io) < 0) return -1;
        // A driver status that only announces sense data does not make a good SCSI status a failure.
        constexpr unsigned kDriverSense = 0x08;
        const bool good = io.status == 0 && io.host_status == 0 && (io.driver_status & ~kDriverSense) == 0;
        if (good) return 0;
        const size_t written = io.sb_len_wr < sizeof senseBytes ? io.sb_len_wr : sizeof senseBytes;
        *sense = senseDecode(senseBytes, written);
        return -1;
    }

    void close(int handle) override {
        if (handle >= 0) ::close(handle);
    }
};

LinuxPassthrough g_linuxPassthrough;
ScsiPassthrough* g_passthrough = &g_linuxPassthrough;

}  // namespace

ScsiPassthrough& scsiPassthrough() { return *g_passthrough; }

void scsiPassthroughInstall(ScsiPassthrough* replacement) {
    g_passthrough = replacement ? replacement : &g_linuxPassthrough;
}

}  // namespace lumadisc
