/* An emulated CD-ROM drive for the tests, preloaded (LD_PRELOAD) into a process so that the real
 * drive code runs against it. For one configured device path it answers open, close,
 * ioctl(CDROM_GET_CAPABILITY) and ioctl(SG_IO) from a CUE/BIN image, records every command block
 * it receives and injects the faults it is told to. Everything else goes to the C library.
 *
 * Configuration, read whenever the device is opened:
 *   LUMADISC_DRIVE_DEVICE    the device path it answers for
 *   LUMADISC_DRIVE_IMAGE     a single-file CUE sheet (a .sub beside it gives the raw subchannel)
 *   LUMADISC_DRIVE_COMMANDS  file that receives one line per command block:
 *                            "BE 00 .. 00 | from 2352 5000" (direction, length, time-out in ms), and
 *                            " | <bytes>" for data sent to the drive
 *   LUMADISC_DRIVE_FAULTS    comma-separated OP[@LBA[-LBA]][xN]=SENSE, OP the opcode in hex, the
 *                            range only for READ CD, N the number of times (default: always); SENSE
 *                            is SK/ASC/ASCQ in hex (fixed format, or descriptor format with a
 *                            trailing "/d"), "none" (check condition without sense bytes), "timeout"
 *                            or "error" (the ioctl itself fails)
 *   LUMADISC_DRIVE_MEDIUM    "absent": no disc (TEST UNIT READY, READ TOC, READ CD fail)
 *   LUMADISC_DRIVE_ACCESS    "readonly": opening for writing is refused; "busy": opening for
 *                            writing fails as with a drive another program holds
 *   LUMADISC_DRIVE_DELAY_MS  time every READ CD takes, in milliseconds */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <pthread.h>
#include <scsi/sg.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#define SECTOR 2352
#define SUBCHANNEL 96
#define MAX_TRACKS 99
#define MAX_FAULTS 32
#define MAX_FDS 16
#define PATH_CAP 4096

enum fault_kind { FAULT_SENSE, FAULT_NO_SENSE, FAULT_TIMEOUT, FAULT_ERROR };

struct fault {
    int opcode;
    int ranged;
    long first, last;
    int remaining; /* -1: always */
    enum fault_kind kind;
    int descriptor;
    uint8_t key, asc, ascq;
};

struct track {
    int audio;
    long start;
};

static struct {
    pthread_mutex_t lock;
    char config[4 * PATH_CAP + 1024]; /* the environment the state below was built from */
    char device[PATH_CAP];
    char commands[PATH_CAP];
    int medium_absent, read_only, busy, delay_ms;
    struct track tracks[MAX_TRACKS];
    int track_count;
    long lead_out;
    int bin_fd, sub_fd;
    struct fault faults[MAX_FAULTS];
    int fault_count;
    int fds[MAX_FDS];
    int speed, multiplier;
} g = {.lock = PTHREAD_MUTEX_INITIALIZER, .bin_fd = -1, .sub_fd = -1,
       .fds = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}};

__attribute__((visibility("default"))) int lumadisc_emulated_drive_present = 1;

static int (*real_open)(const char*, int, ...);
static int (*real_close)(int);
static int (*real_ioctl)(int, unsigned long, ...);

static void bind_real(void) {
    if (!real_open) real_open = (int (*)(const char*, int, ...))dlsym(RTLD_NEXT, "open");
    if (!real_close) real_close = (int (*)(int))dlsym(RTLD_NEXT, "close");
    if (!real_ioctl) real_ioctl = (int (*)(int, unsigned long, ...))dlsym(RTLD_NEXT, "ioctl");
}

static const char* env(const char* name) {
    const char* value = getenv(name);
    return value ? value : "";
}

/* ---- the image ---- */

static long cue_time(const char* text) {
    int m = 0, s = 0, f = 0;
    if (sscanf(text, "%d:%d:%d", &m, &s, &f) != 3) return -1;
    return ((long)m * 60 + s) * 75 + f;
}

static int load_image(const char* cue) {
    g.track_count = 0;
    g.lead_out = 0;
    if (g.bin_fd >= 0) real_close(g.bin_fd);
    if (g.sub_fd >= 0) real_close(g.sub_fd);
    g.bin_fd = g.sub_fd = -1;
    FILE* sheet = fopen(cue, "r");
    if (!sheet) return -1;
    char line[PATH_CAP], bin[PATH_CAP] = "";
    while (fgets(line, sizeof line, sheet)) {
        char word[32] = "", arg[PATH_CAP] = "", arg2[64] = "";
        if (sscanf(line, " %31s %4095s %63s", word, arg, arg2) < 2) continue;
        if (strcmp(word, "FILE") == 0) {
            const char* open_quote = strchr(line, '"');
            const char* close_quote = open_quote ? strchr(open_quote + 1, '"') : NULL;
            if (!close_quote) break;
            const char* slash = strrchr(cue, '/');
            int dir = slash ? (int)(slash - cue + 1) : 0;
            snprintf(bin, sizeof bin, "%.*s%.*s", dir, cue, (int)(close_quote - open_quote - 1), open_quote + 1);
        } else if (strcmp(word, "TRACK") == 0 && g.track_count < MAX_TRACKS) {
            g.tracks[g.track_count].audio = strcmp(arg2, "AUDIO") == 0;
            g.tracks[g.track_count].start = -1;
            g.track_count++;
        } else if (strcmp(word, "INDEX") == 0 && atoi(arg) == 1 && g.track_count > 0) {
            g.tracks[g.track_count - 1].start = cue_time(arg2);
        }
    }
    fclose(sheet);
    if (!*bin || g.track_count == 0) return -1;
    g.bin_fd = real_open(bin, O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (g.bin_fd < 0 || fstat(g.bin_fd, &status) != 0) return -1;
    g.lead_out = (long)(status.st_size / SECTOR);
    char sub[PATH_CAP];
    snprintf(sub, sizeof sub, "%s", cue);
    char* dot = strrchr(sub, '.');
    if (dot && strlen(dot) == 4) {
        strcpy(dot, ".sub");
        g.sub_fd = real_open(sub, O_RDONLY | O_CLOEXEC);
    }
    return 0;
}

/* ---- faults ---- */

static int parse_fault(const char* text, struct fault* f) {
    memset(f, 0, sizeof *f);
    f->remaining = -1;
    char* end;
    f->opcode = (int)strtol(text, &end, 16);
    if (*end == '@') {
        f->ranged = 1;
        f->first = f->last = strtol(end + 1, &end, 10);
        if (*end == '-') f->last = strtol(end + 1, &end, 10);
    }
    if (*end == 'x') f->remaining = (int)strtol(end + 1, &end, 10);
    if (*end != '=') return -1;
    const char* sense = end + 1;
    if (strncmp(sense, "none", 4) == 0) f->kind = FAULT_NO_SENSE;
    else if (strncmp(sense, "timeout", 7) == 0) f->kind = FAULT_TIMEOUT;
    else if (strncmp(sense, "error", 5) == 0) f->kind = FAULT_ERROR;
    else {
        unsigned key, asc, ascq;
        int used = 0;
        if (sscanf(sense, "%x/%x/%x%n", &key, &asc, &ascq, &used) != 3) return -1;
        f->kind = FAULT_SENSE;
        f->key = (uint8_t)key;
        f->asc = (uint8_t)asc;
        f->ascq = (uint8_t)ascq;
        f->descriptor = strncmp(sense + used, "/d", 2) == 0;
    }
    return 0;
}

static void load_faults(const char* list) {
    g.fault_count = 0;
    char copy[2048];
    snprintf(copy, sizeof copy, "%s", list);
    for (char* save = NULL, *item = strtok_r(copy, ",", &save); item; item = strtok_r(NULL, ",", &save)) {
        if (g.fault_count < MAX_FAULTS && parse_fault(item, &g.faults[g.fault_count]) == 0) g.fault_count++;
        else fprintf(stderr, "emulated drive: fault \"%s\" not understood\n", item);
    }
}

/* Called with the lock held, at every open of the device: picks up a changed configuration while
 * keeping the fault counters of an unchanged one. */
static void configure(void) {
    char config[sizeof g.config];
    snprintf(config, sizeof config, "%s\n%s\n%s\n%s\n%s\n%s\n%s", env("LUMADISC_DRIVE_DEVICE"),
             env("LUMADISC_DRIVE_IMAGE"), env("LUMADISC_DRIVE_COMMANDS"), env("LUMADISC_DRIVE_FAULTS"),
             env("LUMADISC_DRIVE_MEDIUM"), env("LUMADISC_DRIVE_ACCESS"), env("LUMADISC_DRIVE_DELAY_MS"));
    if (strcmp(config, g.config) == 0) return;
    snprintf(g.config, sizeof g.config, "%s", config);
    snprintf(g.device, sizeof g.device, "%s", env("LUMADISC_DRIVE_DEVICE"));
    snprintf(g.commands, sizeof g.commands, "%s", env("LUMADISC_DRIVE_COMMANDS"));
    g.medium_absent = strcmp(env("LUMADISC_DRIVE_MEDIUM"), "absent") == 0;
    g.read_only = strcmp(env("LUMADISC_DRIVE_ACCESS"), "readonly") == 0;
    g.busy = strcmp(env("LUMADISC_DRIVE_ACCESS"), "busy") == 0;
    g.delay_ms = atoi(env("LUMADISC_DRIVE_DELAY_MS"));
    if (!g.medium_absent && load_image(env("LUMADISC_DRIVE_IMAGE")) != 0) {
        fprintf(stderr, "emulated drive: cannot use the image \"%s\"; the drive has no disc\n",
                env("LUMADISC_DRIVE_IMAGE"));
        g.medium_absent = 1;
    }
    load_faults(env("LUMADISC_DRIVE_FAULTS"));
}

static struct fault* matching_fault(int opcode, long first, long count) {
    for (int i = 0; i < g.fault_count; ++i) {
        struct fault* f = &g.faults[i];
        if (f->opcode != opcode || f->remaining == 0) continue;
        if (f->ranged && (first + count - 1 < f->first || first > f->last)) continue;
        if (f->remaining > 0) f->remaining--;
        return f;
    }
    return NULL;
}

/* ---- commands ---- */

static void record(const sg_io_hdr_t* io) {
    if (!*g.commands) return;
    char line[8192];
    size_t used = 0;
    for (int i = 0; i < io->cmd_len; ++i)
        used += (size_t)snprintf(line + used, sizeof line - used, "%s%02X", i ? " " : "", io->cmdp[i]);
    const char* direction = io->dxfer_direction == SG_DXFER_FROM_DEV ? "from"
                            : io->dxfer_direction == SG_DXFER_TO_DEV ? "to"
                            : io->dxfer_direction == SG_DXFER_NONE   ? "none"
                                                                     : "other";
    used += (size_t)snprintf(line + used, sizeof line - used, " | %s %u %u", direction, io->dxfer_len, io->timeout);
    if (io->dxfer_direction == SG_DXFER_TO_DEV && io->dxferp) {
        used += (size_t)snprintf(line + used, sizeof line - used, " |");
        const uint8_t* data = io->dxferp;
        for (unsigned i = 0; i < io->dxfer_len && used + 4 < sizeof line; ++i)
            used += (size_t)snprintf(line + used, sizeof line - used, " %02X", data[i]);
    }
    line[used++] = '\n';
    int fd = real_open(g.commands, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) return;
    if (write(fd, line, used) < 0) fprintf(stderr, "emulated drive: cannot record a command\n");
    real_close(fd);
}

static void check_condition(sg_io_hdr_t* io, uint8_t key, uint8_t asc, uint8_t ascq, int descriptor) {
    uint8_t sense[18] = {0};
    size_t length;
    if (descriptor) {
        sense[0] = 0x72;
        sense[1] = key;
        sense[2] = asc;
        sense[3] = ascq;
        length = 8;
    } else {
        sense[0] = 0x70;
        sense[2] = key;
        sense[7] = 10;
        sense[12] = asc;
        sense[13] = ascq;
        length = 18;
    }
    if (length > io->mx_sb_len) length = io->mx_sb_len;
    if (io->sbp && length) memcpy(io->sbp, sense, length);
    io->sb_len_wr = (unsigned char)length;
    io->status = 0x02;
    io->masked_status = 0x01;
    io->driver_status = 0x08;
    io->info = SG_INFO_CHECK;
    io->resid = (int)io->dxfer_len;
}

static void illegal(sg_io_hdr_t* io, uint8_t asc) { check_condition(io, 0x05, asc, 0x00, 0); }

/* Hands `size` bytes to the host, as far as its buffer reaches. */
static void data_in(sg_io_hdr_t* io, const uint8_t* bytes, size_t size) {
    if (io->dxfer_direction != SG_DXFER_FROM_DEV || !io->dxferp) {
        illegal(io, 0x24);
        return;
    }
    size_t n = size < io->dxfer_len ? size : io->dxfer_len;
    memcpy(io->dxferp, bytes, n);
    io->resid = (int)(io->dxfer_len - n);
}

static unsigned be16(const uint8_t* p) { return (unsigned)p[0] << 8 | p[1]; }

static void put_address(uint8_t* at, long lba, int msf) {
    if (msf) {
        long frames = lba + 150;
        at[0] = 0;
        at[1] = (uint8_t)(frames / 4500);
        at[2] = (uint8_t)(frames / 75 % 60);
        at[3] = (uint8_t)(frames % 75);
    } else {
        at[0] = (uint8_t)(lba >> 24);
        at[1] = (uint8_t)(lba >> 16);
        at[2] = (uint8_t)(lba >> 8);
        at[3] = (uint8_t)lba;
    }
}

static void read_toc(sg_io_hdr_t* io, const uint8_t* cdb) {
    if ((cdb[2] & 0x0F) != 0) {
        illegal(io, 0x24);
        return;
    }
    const int msf = cdb[1] & 0x02, from = cdb[6];
    if (from > g.track_count && from != 0xAA) {
        illegal(io, 0x24);
        return;
    }
    uint8_t response[4 + 8 * (MAX_TRACKS + 1)] = {0};
    int n = 0;
    for (int i = 0; i <= g.track_count; ++i) {
        const int number = i < g.track_count ? i + 1 : 0xAA;
        if (number < from) continue;
        uint8_t* d = response + 4 + 8 * n++;
        d[1] = (uint8_t)(0x10 | (i < g.track_count && !g.tracks[i].audio ? 0x04 : 0x00));
        d[2] = (uint8_t)number;
        put_address(d + 4, i < g.track_count ? g.tracks[i].start : g.lead_out, msf);
    }
    const int length = 2 + 8 * n;
    response[0] = (uint8_t)(length >> 8);
    response[1] = (uint8_t)length;
    response[2] = 1;
    response[3] = (uint8_t)g.track_count;
    const size_t allocation = be16(cdb + 7);
    const size_t size = (size_t)length + 2;
    data_in(io, response, size < allocation ? size : allocation);
}

/* The raw P-W subchannel: one bit of each channel per byte, from a file of whole channels. */
static void interleave(const uint8_t* channels, uint8_t* raw) {
    for (int j = 0; j < SUBCHANNEL; ++j) {
        uint8_t value = 0;
        for (int c = 0; c < 8; ++c)
            if (channels[c * 12 + j / 8] & (0x80 >> (j % 8))) value |= (uint8_t)(0x80 >> c);
        raw[j] = value;
    }
}

static void read_cd(sg_io_hdr_t* io, const uint8_t* cdb) {
    const long lba = (long)(int32_t)((uint32_t)cdb[2] << 24 | (uint32_t)cdb[3] << 16 | (uint32_t)cdb[4] << 8 | cdb[5]);
    const long count = (long)cdb[6] << 16 | (long)cdb[7] << 8 | cdb[8];
    const int sub = cdb[10] & 0x07;
    if (cdb[9] != 0xF8 || sub > 1 || (sub == 1 && g.sub_fd < 0) || count > 32) {
        illegal(io, 0x24);
        return;
    }
    if (lba < 0 || lba + count > g.lead_out) {
        illegal(io, 0x21);
        return;
    }
    if (g.delay_ms > 0) {
        struct timespec pause = {g.delay_ms / 1000, (long)(g.delay_ms % 1000) * 1000000L};
        nanosleep(&pause, NULL);
    }
    const size_t each = SECTOR + (sub ? SUBCHANNEL : 0);
    static uint8_t buffer[32 * (SECTOR + SUBCHANNEL)];
    for (long i = 0; i < count; ++i) {
        uint8_t* at = buffer + (size_t)i * each;
        memset(at, 0, each);
        if (pread(g.bin_fd, at, SECTOR, (off_t)(lba + i) * SECTOR) < 0) {
            check_condition(io, 0x03, 0x11, 0x00, 0);
            return;
        }
        if (sub) {
            uint8_t channels[SUBCHANNEL] = {0};
            if (pread(g.sub_fd, channels, SUBCHANNEL, (off_t)(lba + i) * SUBCHANNEL) < 0) memset(channels, 0, SUBCHANNEL);
            interleave(channels, at + SECTOR);
        }
    }
    data_in(io, buffer, each * (size_t)count);
}

static void mode_sense(sg_io_hdr_t* io, const uint8_t* cdb) {
    if ((cdb[2] & 0x3F) != 0x0D) {
        illegal(io, 0x24);
        return;
    }
    uint8_t page[16] = {0, 14, 0, 0, 0, 0, 0, 0, 0x0D, 0x06, 0x00, 0, 0x00, 60, 0x00, 75};
    page[11] = (uint8_t)(0x20 | g.multiplier); /* a high nibble of its own that must survive */
    const size_t allocation = be16(cdb + 7);
    data_in(io, page, allocation < sizeof page ? allocation : sizeof page);
}

static void mode_select(sg_io_hdr_t* io, const uint8_t* cdb) {
    const unsigned length = be16(cdb + 7);
    const uint8_t* data = io->dxferp;
    if (io->dxfer_direction != SG_DXFER_TO_DEV || !data || length > io->dxfer_len) {
        check_condition(io, 0x05, 0x1A, 0x00, 0);
        return;
    }
    if (!(cdb[1] & 0x10) || length < 16 || (data[8] & 0x3F) != 0x0D || data[0] || data[1]) {
        check_condition(io, 0x05, 0x26, 0x00, 0);
        return;
    }
    g.multiplier = data[11] & 0x0F;
}

static void inquiry(sg_io_hdr_t* io, const uint8_t* cdb) {
    uint8_t answer[36] = {0x05, 0x80, 0x00, 0x32, 31};
    memcpy(answer + 8, "LUMADISC", 8);
    memcpy(answer + 16, "EMULATED DRIVE  ", 16);
    memcpy(answer + 32, "1.00", 4);
    const size_t allocation = be16(cdb + 3);
    data_in(io, answer, allocation < sizeof answer ? allocation : sizeof answer);
}

static int scsi(sg_io_hdr_t* io) {
    if (io->interface_id != 'S' || io->cmd_len < 6 || io->cmd_len > 16 || !io->cmdp) {
        errno = EINVAL;
        return -1;
    }
    record(io);
    io->status = io->masked_status = io->host_status = io->driver_status = 0;
    io->sb_len_wr = 0;
    io->resid = 0;
    io->info = SG_INFO_OK;
    io->duration = 1;
    const uint8_t* cdb = io->cmdp;
    long first = 0, count = 0;
    if (cdb[0] == 0xBE) {
        first = (long)(int32_t)((uint32_t)cdb[2] << 24 | (uint32_t)cdb[3] << 16 | (uint32_t)cdb[4] << 8 | cdb[5]);
        count = (long)cdb[6] << 16 | (long)cdb[7] << 8 | cdb[8];
    }
    const struct fault* f = matching_fault(cdb[0], first, count);
    if (f) {
        switch (f->kind) {
        case FAULT_ERROR:
            errno = EIO;
            return -1;
        case FAULT_TIMEOUT:
            io->host_status = 0x03; /* DID_TIME_OUT */
            io->driver_status = 0x06;
            io->duration = io->timeout;
            io->info = SG_INFO_CHECK;
            return 0;
        case FAULT_NO_SENSE:
            check_condition(io, 0, 0, 0, 0);
            io->sb_len_wr = 0;
            return 0;
        case FAULT_SENSE:
            check_condition(io, f->key, f->asc, f->ascq, f->descriptor);
            return 0;
        }
    }
    const int needs_medium = cdb[0] == 0x00 || cdb[0] == 0x43 || cdb[0] == 0xBE;
    if (needs_medium && g.medium_absent) {
        check_condition(io, 0x02, 0x3A, 0x00, 0);
        return 0;
    }
    switch (cdb[0]) {
    case 0x00: break;
    case 0x12: inquiry(io, cdb); break;
    case 0x43: read_toc(io, cdb); break;
    case 0xBE: read_cd(io, cdb); break;
    case 0xBB: g.speed = (int)be16(cdb + 2); break;
    case 0x5A: mode_sense(io, cdb); break;
    case 0x55: mode_select(io, cdb); break;
    default: illegal(io, 0x20); break;
    }
    return 0;
}

/* ---- the interposed calls ---- */

static int tracked(int fd) {
    for (int i = 0; i < MAX_FDS; ++i)
        if (g.fds[i] == fd && fd >= 0) return i;
    return -1;
}

static int tracked_slot_free(void) {
    for (int i = 0; i < MAX_FDS; ++i)
        if (g.fds[i] < 0) return i;
    return -1;
}

static int open_device(const char* path, int flags, int* handled) {
    *handled = 0;
    const char* device = getenv("LUMADISC_DRIVE_DEVICE");
    if (!path || !device || strcmp(path, device) != 0) return -1;
    *handled = 1;
    pthread_mutex_lock(&g.lock);
    configure();
    int fd = -1;
    if ((g.read_only || g.busy) && (flags & O_ACCMODE) != O_RDONLY) {
        errno = g.busy ? EBUSY : EACCES;
    } else {
        /* A character device of its own, so that the drive-type query sees one. */
        fd = real_open("/dev/null", O_RDWR | (flags & O_CLOEXEC));
        const int slot = fd >= 0 ? tracked_slot_free() : -1;
        if (slot >= 0) {
            g.fds[slot] = fd;
        } else if (fd >= 0) {
            real_close(fd);
            fd = -1;
            errno = EMFILE;
        }
    }
    pthread_mutex_unlock(&g.lock);
    return fd;
}

static int open_with(const char* path, int flags, mode_t mode) {
    bind_real();
    int handled;
    const int fd = open_device(path, flags, &handled);
    return handled ? fd : real_open(path, flags, mode);
}

static mode_t mode_of(int flags, va_list args) {
    return (flags & O_CREAT) || (flags & __O_TMPFILE) == __O_TMPFILE ? (mode_t)va_arg(args, int) : 0;
}

__attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = mode_of(flags, args);
    va_end(args);
    return open_with(path, flags, mode);
}

__attribute__((visibility("default"))) int open64(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = mode_of(flags, args);
    va_end(args);
    return open_with(path, flags, mode);
}

__attribute__((visibility("default"))) int __open_2(const char* path, int flags) { return open_with(path, flags, 0); }
__attribute__((visibility("default"))) int __open64_2(const char* path, int flags) { return open_with(path, flags, 0); }

__attribute__((visibility("default"))) int openat(int directory, const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = mode_of(flags, args);
    va_end(args);
    bind_real();
    int handled;
    const int fd = open_device(path, flags, &handled);
    if (handled) return fd;
    static int (*real_openat)(int, const char*, int, ...);
    if (!real_openat) real_openat = (int (*)(int, const char*, int, ...))dlsym(RTLD_NEXT, "openat");
    return real_openat(directory, path, flags, mode);
}

__attribute__((visibility("default"))) int close(int fd) {
    bind_real();
    pthread_mutex_lock(&g.lock);
    const int slot = tracked(fd);
    if (slot >= 0) g.fds[slot] = -1;
    pthread_mutex_unlock(&g.lock);
    return real_close(fd);
}

__attribute__((visibility("default"))) int ioctl(int fd, unsigned long request, ...) {
    va_list args;
    va_start(args, request);
    void* argument = va_arg(args, void*);
    va_end(args);
    bind_real();
    pthread_mutex_lock(&g.lock);
    if (tracked(fd) < 0) {
        pthread_mutex_unlock(&g.lock);
        return real_ioctl(fd, request, argument);
    }
    int result;
    if (request == CDROM_GET_CAPABILITY) {
        result = CDC_CLOSE_TRAY | CDC_OPEN_TRAY | CDC_LOCK | CDC_SELECT_SPEED | CDC_PLAY_AUDIO | CDC_DRIVE_STATUS |
                 CDC_MEDIA_CHANGED | CDC_GENERIC_PACKET;
    } else if (request == SG_IO && argument) {
        result = scsi((sg_io_hdr_t*)argument);
    } else {
        errno = ENOTTY;
        result = -1;
    }
    pthread_mutex_unlock(&g.lock);
    return result;
}
