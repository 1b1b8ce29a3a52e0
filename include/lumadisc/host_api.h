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

#ifdef __cplusplus
}
#endif

#endif
