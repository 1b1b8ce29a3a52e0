// lumaDisc host interface: everything an emulator needs to load and drive the plugin.
//
// Every export that returns a number returns `long`, because hosts of the classic interface declare
// the results as C `long` (an `int` -1 would reach them as 4294967295 on LP64).
#ifndef LUMADISC_HOST_API_H
#define LUMADISC_HOST_API_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(LUMADISC_BUILDING_PLUGIN)
#define LUMADISC_API __attribute__((visibility("default")))
#else
#define LUMADISC_API
#endif

/* Status record filled by CDRgetStatus; its layout is fixed by the classic interface. */
struct CdrStat {
    uint32_t Type;      /* 1 data disc, 2 otherwise */
    uint32_t Status;    /* 0x10 lid open, 0x80 CD audio playing */
    unsigned char Time[3]; /* current position: absolute minute, second, frame in BCD */
};

enum {
    LUMADISC_STATUS_LID_OPEN = 0x10,
    LUMADISC_STATUS_PLAYING = 0x80,
    LUMADISC_LIB_TYPE_CDR = 1,
    LUMADISC_LIB_VERSION = 0x10115
};

/* Classic CD-ROM plugin exports. */
typedef long (*CDRinit_t)(void);
typedef long (*CDRshutdown_t)(void);
typedef long (*CDRopen_t)(void);
typedef long (*CDRclose_t)(void);
/* Fills first and last track number (binary). */
typedef long (*CDRgetTN_t)(unsigned char* buffer);
/* Fills the start of a track as frame, second, minute (binary); track 0 is the lead-out. */
typedef long (*CDRgetTD_t)(unsigned char track, unsigned char* buffer);
/* Reads the sector at minute, second, frame given in BCD. */
typedef long (*CDRreadTrack_t)(unsigned char* time);
/* The sector read last, from its header on (the 12 sync bytes are skipped). */
typedef unsigned char* (*CDRgetBuffer_t)(void);
/* The 96-byte subchannel block of the sector read last: P, Q, R..W, 12 bytes each. */
typedef unsigned char* (*CDRgetBufferSub_t)(void);
/* Starts CD audio at minute, second, frame given in binary. */
typedef long (*CDRplay_t)(unsigned char* time);
typedef long (*CDRstop_t)(void);
typedef long (*CDRgetStatus_t)(struct CdrStat* stat);
/* Copies the whole 2352-byte sector at minute, second, frame (binary) into buffer. */
typedef long (*CDRreadCDDA_t)(unsigned char minute, unsigned char second, unsigned char frame,
                              unsigned char* buffer);
/* The end of a track (the start of the next one) as minute, second, frame (binary). */
typedef long (*CDRgetTE_t)(unsigned char track, unsigned char* minute, unsigned char* second,
                           unsigned char* frame);
typedef void (*CDRkeypressed_t)(int key);
typedef long (*CDRconfigure_t)(void);
typedef void (*CDRabout_t)(void);
typedef long (*CDRtest_t)(void);
typedef char (*CDRgetDriveLetter_t)(void);
typedef unsigned long (*PSEgetLibType_t)(void);
typedef char* (*PSEgetLibName_t)(void);
typedef unsigned long (*PSEgetLibVersion_t)(void);

LUMADISC_API long CDRinit(void);
LUMADISC_API long CDRshutdown(void);
LUMADISC_API long CDRopen(void);
LUMADISC_API long CDRclose(void);
LUMADISC_API long CDRgetTN(unsigned char* buffer);
LUMADISC_API long CDRgetTD(unsigned char track, unsigned char* buffer);
LUMADISC_API long CDRreadTrack(unsigned char* time);
LUMADISC_API unsigned char* CDRgetBuffer(void);
LUMADISC_API unsigned char* CDRgetBufferSub(void);
LUMADISC_API long CDRplay(unsigned char* time);
LUMADISC_API long CDRstop(void);
LUMADISC_API long CDRgetStatus(struct CdrStat* stat);
LUMADISC_API long CDRreadCDDA(unsigned char minute, unsigned char second, unsigned char frame,
                              unsigned char* buffer);
LUMADISC_API long CDRgetTE(unsigned char track, unsigned char* minute, unsigned char* second,
                           unsigned char* frame);
LUMADISC_API void CDRkeypressed(int key);
LUMADISC_API long CDRconfigure(void);
LUMADISC_API void CDRabout(void);
LUMADISC_API long CDRtest(void);
LUMADISC_API char CDRgetDriveLetter(void);
LUMADISC_API unsigned long PSEgetLibType(void);
LUMADISC_API char* PSEgetLibName(void);
LUMADISC_API unsigned long PSEgetLibVersion(void);


/* ---- The extended face: PluginLoad, where the plugin emulates the CD-ROM controller. ---- */

/* HostApi: an array of pointer-sized slots owned by the host. The plugin uses three of them. */
enum {
    LUMADISC_HOST_API_CONFIG_DIRECTORY = 6, /* const char*: working directory of the configuration program */
    LUMADISC_HOST_API_REGISTER_SERVICE = 26, /* HostRegisterService_t */
    LUMADISC_HOST_API_FIND_FUNCTION = 27,    /* HostFindFunction_t */
    LUMADISC_HOST_API_SLOTS = 32
};
typedef void* HostApi[LUMADISC_HOST_API_SLOTS];

/* A name and a function address; the plugin reuses one record for every call of slots 26 and 27. */
typedef struct HostSymbol {
    const char* name;
    void* function;
} HostSymbol;
/* Registers symbol->function under symbol->name. */
typedef long (*HostRegisterService_t)(HostSymbol* symbol);
/* Looks symbol->name up: 0 when found (symbol->function then holds it), anything else when not. */
typedef long (*HostFindFunction_t)(HostSymbol* symbol);

/* The plugin's handlers that the host calls. */
typedef void (*CdrPortWrite_t)(uint32_t value, uint32_t port); /* a byte written to port 0x1800..0x1803 */
typedef uint32_t (*CdrPortRead_t)(uint32_t port);            /* the byte read (low 8 bits) */
typedef uint32_t (*CdrDmaHandler_t)(uint32_t control);       /* DMA channel 3 started with this control word */
typedef long (*CdrEvent_t)(void);                            /* a timed event fires; returns 0 */

/* Host functions the plugin finds by name in Open. */
typedef void (*HostHookPortByte_t)(CdrPortWrite_t write, CdrPortRead_t read, uint32_t port); /* "cpuHookPortByte" */
/* "cpuHookDMAFunc": returns the channel's register pair, word 0 memory address, word 1 block control. */
typedef uint32_t* (*HostHookDma_t)(CdrDmaHandler_t handler, uint32_t zero, uint32_t channel);
typedef void* (*HostReadDataAddr_t)(uint32_t address);                       /* "cpuReadDataAddr" */
typedef void (*HostIrqRequest_t)(uint32_t line);                             /* "cpuIrqRequest" (line 4) */
typedef uint32_t (*HostIrqWaitFuncRegister_t)(CdrEvent_t event);             /* "cpuIrqWaitFuncRegister" */
/* "cpuIrqWaitFuncSet": fires the event once after ticks; a new call replaces the schedule;
   LUMADISC_TICKS_CANCEL cancels it. */
typedef void (*HostIrqWaitFuncSet_t)(uint32_t ticks, uint32_t handle);
typedef uint32_t (*HostIrqWaitFuncGet_t)(uint32_t handle);                   /* "cpuIrqWaitFuncGet": ticks left */
struct XaAudio;
typedef void (*HostPlayCdxa_t)(struct XaAudio* audio);                       /* "spuPlayCDXA" */
typedef void (*HostPlayCdda_t)(unsigned char* block);                        /* "spuPlayCDDA": 2352 bytes */
typedef long (*HostGetKey_t)(uint32_t key, uint32_t one);                    /* "padGetKKey": nonzero while pressed */
#define LUMADISC_TICKS_CANCEL 0xFFFFFFFFu

/* The table PluginLoad hands back: 11 pointer-sized slots. */
typedef struct CdrEntryTable {
    long (*Init)(void);
    long (*Open)(void);     /* 0, or -1 on failure */
    long (*Start)(void);
    long (*Stop)(void);
    long (*Close)(void);
    long (*Shutdown)(void);
    void* reserved;
    void (*Poll)(void);
    long (*Configure)(void);
    long (*SaveState)(void** record); /* stores a malloc'd StateRecord; the caller frees it */
    long (*LoadState)(const void* record);
} CdrEntryTable;

/* One decoded XA audio sector, as spuPlayCDXA receives it (32800 bytes). */
typedef struct XaAudio {
    int32_t rate;          /* 37800 or 18900 */
    int32_t bitsPerSample; /* 4 or 8 */
    int32_t stereo;        /* 1 stereo, 0 mono */
    int32_t sampleCount;   /* samples per channel: 4032 mono, 2016 stereo */
    int32_t leftY0, leftY1, rightY0, rightY1;
    int16_t samples[16384]; /* mono in order, stereo as left, right pairs */
} XaAudio;

enum {
    LUMADISC_CONTROLLER_STATE_SIZE = 41740,
    LUMADISC_STATE_RECORD_SIZE = 41764,
    LUMADISC_STATE_RECORD_VERSION = 3
};

/* A save state: the controller's state block and the ticks left of its four events. */
typedef struct StateRecord {
    uint32_t size;    /* LUMADISC_STATE_RECORD_SIZE */
    uint32_t version; /* LUMADISC_STATE_RECORD_VERSION */
    unsigned char controller[LUMADISC_CONTROLLER_STATE_SIZE];
    uint32_t interruptTicks, readTicks, coverClosedTicks, reportTicks;
} StateRecord;

/* Services the plugin registers with the host in Init. */
typedef long (*CdrGetSystemType_t)(void);              /* "cdrGetSystemType": 1 for a PAL-region disc */
typedef void* (*CdrLoadExecutable_t)(const char* name); /* "cdrLoadExecutable": malloc'd image or null */
typedef char* (*CdrGetText_t)(void);                    /* "cdrGetCDExeMd5", "cdrGetCDLabel", "cdrGetCDExeName" */

/* Takes the host's HostApi table (an array of LUMADISC_HOST_API_SLOTS slots) and returns the entry table. */
LUMADISC_API CdrEntryTable* PluginLoad(void** hostApi);

#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
static_assert(sizeof(XaAudio) == 32800, "XaAudio is 32800 bytes");
static_assert(sizeof(StateRecord) == LUMADISC_STATE_RECORD_SIZE, "StateRecord is 41764 bytes");
static_assert(sizeof(CdrEntryTable) == 11 * sizeof(void*), "the entry table has 11 slots");
#endif

#endif
