// The classic CD-ROM plugin face: state guards and the start-up, open, close and shut-down
// sequences around the facade. Every export is a thin shell with its own log line; a null pointer
// from the host is answered with -1 and nothing else.
#include <cstring>
#include <thread>

#include "audio/cd_play.h"
#include "config/config_program.h"
#include "config/log.h"
#include "config/message_file.h"
#include "config/settings.h"
#include "facade/cdrom_control.h"
#include "facade/plugin_lifetime.h"
#include "lumadisc/host_api.h"
#include "plugin/hot_keys.h"
#include "input/input_devices.h"

namespace lumadisc {
namespace {

bool g_initialised = false;
bool g_opened = false;
std::thread g_hotKeyThread;
CCdromControl g_cdrom;
char g_libName[] = "lumaDisc";
constexpr const char* kConfigDirectory = "configs";

void startUp() {
    pluginStartUp(PluginFace::kClassic, g_cdrom);
    g_initialised = true;
    logWrite(kLogPlugin, "[CDR] Init()\n");
}

void shutDown() {
    logWrite(kLogPlugin, "[CDR] Shutdown()\n");
    pluginShutDown(PluginFace::kClassic, g_cdrom);
    logClose();
    g_initialised = false;
}

void closeSequence() {
    logWrite(kLogPlugin, "[CDR] Close()\n");
    if (!g_hotKeyStop) {
        g_hotKeyStop = 1;
        if (g_hotKeyThread.joinable()) g_hotKeyThread.join();
    }
    messageFileRemove();
    inputClose();
    g_cdrom.close();
    // Saved while the log is still open, so that a save that fails says why.
    if (g_settings.savesettingsonexit) settingsSave(&g_settings);
    logClose();
    g_opened = false;
}

long openSequence() {
    pluginLoadSettingsAndLog(true, kConfigDirectory);
    logWrite(kLogPlugin, "[CDR] CDRopen()\n");
    inputOpen();
    messageFileCreate();
    g_hotKeyStop = 0;
    g_hotKeyThread = std::thread(hotKeyThread);
    g_opened = true;
    if (g_cdrom.open() == 0) return 0;
    closeSequence();
    return -1;
}

void logFailureIfNegative(long result) {
    if (result < 0) logWrite(kLogPlugin, "[CDR] failed.\n");
}

}  // namespace
}  // namespace lumadisc

using namespace lumadisc;

extern "C" {

long CDRinit(void) {
    if (!g_initialised) startUp();
    return 0;
}

long CDRshutdown(void) {
    if (g_initialised) {
        if (g_opened) closeSequence();  // a host that skips CDRclose still gets its threads back
        shutDown();
    }
    return 0;
}

long CDRopen(void) {
    if (!g_initialised || g_opened) return 0;
    return openSequence();
}

long CDRclose(void) {
    if (g_initialised && g_opened) closeSequence();
    return 0;
}

long CDRgetTN(unsigned char* buffer) {
    if (!buffer) return -1;
    logWrite(kLogPlugin, "[CDR] GetTN() : %i, %i.\n", buffer[0], buffer[1]);
    const long result = g_cdrom.getTN(buffer);
    logFailureIfNegative(result);
    return result;
}

long CDRgetTD(unsigned char track, unsigned char* buffer) {
    if (!buffer) return -1;
    logWrite(kLogPlugin, "[CDR] GetTD(%i) : %.2i:%.2i:%.2i.\n", track, buffer[0], buffer[1], buffer[2]);
    const long result = g_cdrom.getTD(track, buffer);
    logFailureIfNegative(result);
    std::swap(buffer[0], buffer[2]);
    return result;
}

long CDRreadTrack(unsigned char* time) {
    if (!time) return -1;
    const Lba lba = lbaFromMsf(binaryFromBcd(time[0]), binaryFromBcd(time[1]), binaryFromBcd(time[2]));
    logWrite(kLogPlugin, "[CDR] ReadTrack(%.2x:%.2x:%.2x)(%i)\n", time[0], time[1], time[2], lba);
    g_cdrom.setLoc(lba);
    const long result = g_cdrom.readData();
    logFailureIfNegative(result);
    return result;
}

unsigned char* CDRgetBuffer(void) {
    uint8_t* sector = g_cdrom.getDataBuffer();
    const uint8_t* b = sector + kSectorHeaderOffset;
    logWrite(kLogPlugin,
             "[CDR] CDRgetBuffer() : %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x "
             "%x %x.\n",
             b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14],
             b[15], b[16], b[17], b[18], b[19], b[20], b[21], b[22], b[23]);
    return sector + kSectorHeaderOffset;
}

unsigned char* CDRgetBufferSub(void) {
    uint8_t* block = g_cdrom.getSubsBuffer();
    const uint8_t* q = block + kSubchannelQOffset;
    logWrite(kLogPlugin,
             "[CDR] CDRgetBufferSub() : %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x %.2x.\n",
             q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7], q[8], q[9], q[10], q[11]);
    return block;
}

long CDRplay(unsigned char* time) {
    if (!time) return -1;
    const Lba lba = lbaFromMsf(time[0], time[1], time[2]);
    logWrite(kLogPlugin, "[CDR] CDRplay(%.2x:%.2x:%.2x)(%i).\n", time[0], time[1], time[2], lba);
    g_cdrom.setLoc(lba);
    g_cdrom.playCDDA();
    return 0;
}

long CDRstop(void) {
    logWrite(kLogPlugin, "[CDR] CDRstop().\n");
    g_cdrom.stopCDDA();
    return 0;
}

long CDRgetStatus(struct CdrStat* stat) {
    if (!stat) return -1;
    logWrite(kLogPlugin, "[CDR] CDRgetStatus().\n");
    stat->Status = 0;
    stat->Type = g_cdrom.getDiscType() == 1 ? 1 : 2;
    if (settingLive(g_settings.coveropened)) stat->Status |= LUMADISC_STATUS_LID_OPEN;
    if (g_cdrom.isCDDA()) stat->Status |= LUMADISC_STATUS_PLAYING;
    const Msf time = bcdMsf(msfFromLba(g_cdrom.getLoc()));
    stat->Time[0] = time.minute;
    stat->Time[1] = time.second;
    stat->Time[2] = time.frame;
    return 0;
}

long CDRreadCDDA(unsigned char minute, unsigned char second, unsigned char frame, unsigned char* buffer) {
    logWrite(kLogPlugin, "[CDR] CDRreadCDDA(%i, %i, %i).\n", minute, second, frame);
    if (!buffer) return -1;
    g_cdrom.setLoc(lbaFromMsf(minute, second, frame));
    // A sector that cannot be read is a failure here as in CDRreadTrack; the buffer then holds what
    // the reader area holds.
    const long result = g_cdrom.readData() < 0 ? -1 : 0;
    uint8_t* sector = CDRgetBuffer() - kSectorHeaderOffset;
    std::memcpy(buffer, sector, kRawSectorSize);
    return result;
}

long CDRgetTE(unsigned char track, unsigned char* minute, unsigned char* second, unsigned char* frame) {
    logWrite(kLogPlugin, "[CDR] CDRgetTE(%i).\n", track);
    if (!minute || !second || !frame) return -1;
    uint8_t msf[3] = {0, 0, 0};
    g_cdrom.getTD(static_cast<uint8_t>(track + 1), msf);
    *minute = msf[0];
    *second = msf[1];
    *frame = msf[2];
    return 0;
}

void CDRkeypressed(int) {}

long CDRconfigure(void) {
    const bool wasOpened = g_opened;
    const bool tookDown = g_initialised;
    if (g_initialised) {
        if (g_opened) closeSequence();
        shutDown();
    }
    runConfigProgram(kConfigDirectory);
    if (tookDown) startUp();
    if (wasOpened) openSequence();
    return 0;
}

void CDRabout(void) {}
long CDRtest(void) { return 0; }
char CDRgetDriveLetter(void) { return 0; }
unsigned long PSEgetLibType(void) { return LUMADISC_LIB_TYPE_CDR; }
char* PSEgetLibName(void) { return g_libName; }
unsigned long PSEgetLibVersion(void) { return LUMADISC_LIB_VERSION; }

}  // extern "C"
