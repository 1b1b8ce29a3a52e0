// Disc information the host asks for by name: the system type, the boot executable and its MD5,
// the disc label and the executable's name.
#pragma once

#include <cstdint>

namespace lumadisc {

// The disc identity source. In this release the label and the executable name are the constant
// "NO_CD" and the loader provides no image.
const char* getDiscLabel();
const char* getDiscExeName();
// A malloc'd image (2048-byte header, then the program text) or null.
void* loadDiscExecutable(const char* path);
// 1 when name contains SCED, SCES, SLED, SLEH or SLES (exact case), else 0; 0 for null.
long systemTypeOfName(const char* name);
// 32 lowercase hexadecimal digits of the MD5 of the image's header and text (t + 2048 bytes, t the
// 32-bit little-endian text size at byte 28), or 32 zeros for a null image; out holds 33 characters.
void executableDigestText(const uint8_t* image, char* out);

// The services, as registered.
long cdrGetSystemType();
void* cdrLoadExecutable(const char* name);
char* cdrGetCDExeMd5();
char* cdrGetCDLabel();
char* cdrGetCDExeName();

// Registers the five services with the host, in their fixed order.
void discServicesRegister();

}  // namespace lumadisc
