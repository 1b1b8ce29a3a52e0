#include "formats/cdrwin.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/log.h"
#include "disc/auto_sub.h"
#include "support/paths.h"

namespace lumadisc {

CCdCdrwinToc g_cdrwinToc;
CCdCdrwinData g_cdrwinData;
CCdCdrwinSub g_cdrwinSub;

namespace {

constexpr const char* kSeparators = " \t,.:;/\r\n";
constexpr char kQuote = '"';

// Decimal stream extraction: optional sign and digits; anything else reads as 0.
long cueInteger(const std::string& token) {
    return std::strtol(token.c_str(), nullptr, 10);
}

bool readWholeFile(const char* path, std::string& text) {
    FILE* file = std::fopen(path, "rb");
    if (!file) return false;
    char chunk[65536];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, got);
    std::fclose(file);
    return true;
}


}  // namespace

std::vector<std::string> cueTokenize(const std::string& text) {
    std::vector<std::string> tokens;
    size_t lineStart = 0;
    while (lineStart < text.size()) {
        size_t lineEnd = text.find('\n', lineStart);
        if (lineEnd == std::string::npos) lineEnd = text.size();
        const std::string line = text.substr(lineStart, lineEnd - lineStart);
        size_t position = 0;
        while (true) {
            const size_t begin = line.find_first_not_of(kSeparators, position);
            if (begin == std::string::npos) break;
            size_t start = begin;
            size_t end;
            if (line[begin] == kQuote) {
                start = begin + 1;
                end = line.find(kQuote, start);
            } else {
                end = line.find_first_of(kSeparators, start);
            }
            if (end == std::string::npos) end = line.size();
            tokens.push_back(line.substr(start, end - start));
            position = end + 1;
            if (position >= line.size()) break;
        }
        tokens.emplace_back();
        lineStart = lineEnd + 1;
    }
    return tokens;
}

void cueBuildTable(const std::vector<std::string>& tokens, TrackTable& table) {
    int32_t type = kTrackData;
    const size_t count = tokens.size();
    size_t i = 0;
    while (i < count) {
        const std::string& token = tokens[i];
        if (token == "FILE") {
            if (i + 2 >= count) break;
            type = tokens[i + 2] == "BINARY" ? kTrackData : kTrackAudio;
            i += 3;
        } else if (token == "TRACK") {
            i += 2;
        } else if (token == "INDEX") {
            if (i + 1 >= count) break;
            if (cueInteger(tokens[i + 1]) == 1) {
                if (i + 4 >= count) break;
                const long minute = cueInteger(tokens[i + 2]) % 256;
                const long second = cueInteger(tokens[i + 3]) % 256;
                const long frame = cueInteger(tokens[i + 4]) % 256;
                table.append(type, static_cast<Lba>((minute * 60 + second) * 75 + frame));
                i += 5;
            } else {
                i += 2;
            }
        } else {
            ++i;  // the empty line mark, PREGAP and anything not understood
        }
    }
}

int CCdCdrwinToc::open(const char* path) {
    table_.clear();
    const char* sheetPath = path;
    char dataPath[kPathCapacity];
    const bool haveDataPath = companionPathOf(sheetPath, ".bin", dataPath);
    table_.appendLeadOut(haveDataPath ? ImageFile::sizeOf(dataPath) : -1, kRawSectorSize);
    std::string text;
    if (!readWholeFile(sheetPath, text)) {
        logWrite(kLogPlugin, "[CDR] Error: toc not opened (%s).\n", sheetPath);
        return -1;
    }
    cueBuildTable(cueTokenize(text), table_);
    return 0;
}

int CCdCdrwinSub::read(Lba lba, uint8_t* block) {
    generateSubchannel(lba, block);
    return 0;
}

}  // namespace lumadisc
