#include "controller/disc_services.h"

#include <md5.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/log.h"
#include "controller/host_binding.h"

namespace lumadisc {

namespace {

constexpr const char* kNoDisc = "NO_CD";
constexpr size_t kExeHeaderSize = 2048;
constexpr size_t kExeTextSizeOffset = 28;
constexpr const char* kPalPrefixes[] = {"SCED", "SCES", "SLED", "SLEH", "SLES"};

char g_md5Text[33];
char g_label[64];
char g_exeName[64];

char* copyText(char* buffer, size_t size, const char* text) {
    std::snprintf(buffer, size, "%s", text ? text : "");
    return buffer;
}

}  // namespace

const char* getDiscLabel() { return kNoDisc; }
const char* getDiscExeName() { return kNoDisc; }
void* loadDiscExecutable(const char*) { return nullptr; }

long systemTypeOfName(const char* name) {
    if (name == nullptr) return 0;
    for (const char* prefix : kPalPrefixes) {
        if (std::strstr(name, prefix) != nullptr) return 1;
    }
    return 0;
}

void executableDigestText(const uint8_t* image, char* out) {
    uint8_t digest[MD5_DIGEST_LENGTH] = {};
    if (image != nullptr) {
        uint32_t textSize;
        std::memcpy(&textSize, image + kExeTextSizeOffset, sizeof textSize);  // little-endian host
        MD5_CTX context;
        MD5Init(&context);
        MD5Update(&context, image, kExeHeaderSize + textSize);
        MD5Final(digest, &context);
    }
    for (int i = 0; i < MD5_DIGEST_LENGTH; ++i) std::snprintf(out + 2 * i, 3, "%.2x", digest[i]);
    out[2 * MD5_DIGEST_LENGTH] = '\0';
}

long cdrGetSystemType() {
    const long type = systemTypeOfName(getDiscExeName());
    logWrite(kLogController, "[CDR] cdrGetSystemType: %i,\n", static_cast<int>(type));
    return type;
}

void* cdrLoadExecutable(const char* name) {
    logWrite(kLogController, "[CDR] cdrLoadExecutable: %s.\n", name ? name : "");
    return loadDiscExecutable(name);
}

char* cdrGetCDExeMd5() {
    char path[80];
    std::snprintf(path, sizeof path, "/%s", getDiscExeName());
    auto* image = static_cast<uint8_t*>(loadDiscExecutable(path));
    executableDigestText(image, g_md5Text);
    std::free(image);
    logWrite(kLogController, "[CDR] cdrGetCDExeMd5: %s,\n", g_md5Text);
    return g_md5Text;
}

char* cdrGetCDLabel() {
    copyText(g_label, sizeof g_label, getDiscLabel());
    logWrite(kLogController, "[CDR] cdrGetCDLabel: %s.\n", g_label);
    return g_label;
}

char* cdrGetCDExeName() {
    copyText(g_exeName, sizeof g_exeName, getDiscExeName());
    logWrite(kLogController, "[CDR] cdrGetCDExeName: %s.\n", g_exeName);
    return g_exeName;
}

void discServicesRegister() {
    hostRegisterService("cdrGetSystemType", reinterpret_cast<void*>(&cdrGetSystemType));
    hostRegisterService("cdrLoadExecutable", reinterpret_cast<void*>(&cdrLoadExecutable));
    hostRegisterService("cdrGetCDExeMd5", reinterpret_cast<void*>(&cdrGetCDExeMd5));
    hostRegisterService("cdrGetCDLabel", reinterpret_cast<void*>(&cdrGetCDLabel));
    hostRegisterService("cdrGetCDExeName", reinterpret_cast<void*>(&cdrGetCDExeName));
}

}  // namespace lumadisc
