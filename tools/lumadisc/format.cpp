// The tool's shared formatting and argument reading: whole numbers, hex bytes, times.
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

bool parseNumber(const std::string& text, long* value) {
    if (text.empty()) return false;
    char* end = nullptr;
    errno = 0;
    const long parsed = std::strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0') return false;
    *value = parsed;
    return true;
}

std::string hexBytes(const unsigned char* bytes, int count) {
    std::string text;
    char item[4];
    for (int i = 0; i < count; ++i) {
        std::snprintf(item, sizeof item, "%02x", bytes[i]);
        if (i) text += ' ';
        text += item;
    }
    return text;
}

std::string msfText(const Msf& msf) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", msf.minute, msf.second, msf.frame);
    return text;
}

}  // namespace lumadisc::tool
