#include "formats/cue_sheet.h"

#include <cctype>
#include <cstring>
#include <strings.h>

#include "disc/cd_utility.h"

namespace lumadisc {

namespace {

constexpr int kMaxTrackNumber = 99;
constexpr int kMaxIndexNumber = 99;
constexpr size_t kMaxFiles = 99;

struct Word {
    std::string text;
    bool quoted = false;
};

// Splits a line at blanks and tabs; a quoted name is one word without its quotes (an unclosed quote
// runs to the end of the line).
std::vector<Word> splitLine(const std::string& line) {
    std::vector<Word> words;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        if (i >= line.size()) break;
        if (line[i] == '"') {
            const size_t close = line.find('"', i + 1);
            const size_t end = close == std::string::npos ? line.size() : close;
            words.push_back({line.substr(i + 1, end - i - 1), true});
            i = end + 1;
        } else {
            size_t end = i;
            while (end < line.size() && line[end] != ' ' && line[end] != '\t') ++end;
            words.push_back({line.substr(i, end - i), false});
            i = end;
        }
    }
    return words;
}

bool is(const std::string& word, const char* keyword) { return strcasecmp(word.c_str(), keyword) == 0; }

bool parseNumber(const std::string& text, int limit, int* value) {
    if (text.empty() || text.size() > 6) return false;
    int result = 0;
    for (const char c : text) {
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
        result = result * 10 + (c - '0');
    }
    if (result > limit) return false;
    *value = result;
    return true;
}

// "mm:ss:ff" with seconds below 60 and frames below 75, as a sector count.
bool parseTime(const std::string& text, int32_t* sectors) {
    const size_t first = text.find(':');
    const size_t second = first == std::string::npos ? first : text.find(':', first + 1);
    if (second == std::string::npos) return false;
    int minute = 0, secondValue = 0, frame = 0;
    if (!parseNumber(text.substr(0, first), 999, &minute) ||
        !parseNumber(text.substr(first + 1, second - first - 1), kSecondsPerMinute - 1, &secondValue) ||
        !parseNumber(text.substr(second + 1), kFramesPerSecond - 1, &frame)) {
        return false;
    }
    *sectors = (minute * kSecondsPerMinute + secondValue) * kFramesPerSecond + frame;
    return true;
}

bool parseMode(const std::string& word, CueTrackMode* mode) {
    static const struct {
        const char* name;
        CueTrackMode mode;
    } kModes[] = {
        {"AUDIO", CueTrackMode::kAudio},         {"MODE1/2048", CueTrackMode::kMode1User},
        {"MODE1/2352", CueTrackMode::kMode1Raw}, {"MODE2/2336", CueTrackMode::kMode2User},
        {"MODE2/2352", CueTrackMode::kMode2Raw}, {"CDG", CueTrackMode::kCdg},
        {"CDI/2336", CueTrackMode::kCdiUser},    {"CDI/2352", CueTrackMode::kCdiRaw},
    };
    for (const auto& m : kModes) {
        if (is(word, m.name)) {
            *mode = m.mode;
            return true;
        }
    }
    return false;
}

bool parseFileType(const std::string& word, CueFileType* type) {
    if (is(word, "BINARY")) *type = CueFileType::kBinary;
    else if (is(word, "MOTOROLA")) *type = CueFileType::kMotorola;
    else if (is(word, "WAVE") || is(word, "AIFF") || is(word, "FLAC") || is(word, "OGG")) *type = CueFileType::kSound;
    else return false;
    return true;
}

class Parser {
public:
    explicit Parser(CueSheet& sheet) : sheet_(sheet) {}

    std::string line(const std::vector<Word>& words) {
        const std::string& keyword = words[0].text;
        if (is(keyword, "FILE")) return file(words);
        if (is(keyword, "TRACK")) return track(words);
        if (is(keyword, "INDEX")) return index(words);
        if (is(keyword, "PREGAP") || is(keyword, "POSTGAP")) return gap(words, is(keyword, "PREGAP"));
        if (is(keyword, "FLAGS")) return flags(words);
        return {};  // REM, CATALOG, ISRC, TITLE, PERFORMER, SONGWRITER, CDTEXTFILE and the like
    }

private:
    std::string file(const std::vector<Word>& words) {
        if (words.size() < 3) return "FILE without a name and a type";
        CueFileType type;
        if (!parseFileType(words.back().text, &type)) return "unknown FILE type " + words.back().text;
        if (sheet_.files.size() >= kMaxFiles) return "more than 99 FILE lines";
        // An unquoted name with blanks in it: every word between the keyword and the type.
        std::string name = words[1].text;
        for (size_t i = 2; i + 1 < words.size(); ++i) name += " " + words[i].text;
        if (name.empty()) return "FILE with an empty name";
        sheet_.files.push_back({name, type});
        return {};
    }

    std::string track(const std::vector<Word>& words) {
        if (sheet_.files.empty()) return "TRACK before any FILE";
        int number = 0;
        CueTrackMode mode;
        if (words.size() < 3 || !parseNumber(words[1].text, kMaxTrackNumber, &number) || number < 1)
            return "TRACK without a number from 1 to 99";
        if (!parseMode(words[2].text, &mode)) return "unknown track mode " + words[2].text;
        if (!sheet_.tracks.empty() && number <= sheet_.tracks.back().number) return "track numbers do not rise";
        if (!sheet_.tracks.empty() && sheet_.tracks.back().indexes.empty()) return "a track without INDEX lines";
        CueTrack entry;
        entry.number = number;
        entry.mode = mode;
        entry.flags = cueModeIsAudio(mode) ? 0 : 0x4;
        sheet_.tracks.push_back(entry);
        return {};
    }

    std::string index(const std::vector<Word>& words) {
        if (sheet_.tracks.empty()) return "INDEX outside a TRACK";
        int number = 0;
        int32_t position = 0;
        if (words.size() < 3 || !parseNumber(words[1].text, kMaxIndexNumber, &number)) return "INDEX without a number";
        if (!parseTime(words[2].text, &position)) return "INDEX time is not mm:ss:ff";
        CueTrack& current = sheet_.tracks.back();
        if (!current.indexes.empty() && number <= current.indexes.back().number) return "index numbers do not rise";
        if (current.indexes.empty() && number > 1) return "a track's first index is above 01";
        if (current.postgap) return "INDEX after POSTGAP";
        current.indexes.push_back({number, static_cast<int>(sheet_.files.size() - 1), position});
        return {};
    }

    std::string gap(const std::vector<Word>& words, bool pregap) {
        if (sheet_.tracks.empty()) return "gap outside a TRACK";
        int32_t length = 0;
        if (words.size() < 2 || !parseTime(words[1].text, &length)) return "gap time is not mm:ss:ff";
        CueTrack& current = sheet_.tracks.back();
        if (pregap) {
            if (!current.indexes.empty()) return "PREGAP after INDEX";
            current.pregap = length;
        } else {
            current.postgap = length;
        }
        return {};
    }

    std::string flags(const std::vector<Word>& words) {
        if (sheet_.tracks.empty()) return "FLAGS outside a TRACK";
        CueTrack& current = sheet_.tracks.back();
        for (size_t i = 1; i < words.size(); ++i) {
            if (is(words[i].text, "DCP")) current.flags |= 0x2;
            else if (is(words[i].text, "4CH")) current.flags |= 0x8;
            else if (is(words[i].text, "PRE")) current.flags |= 0x1;
        }
        return {};
    }

    CueSheet& sheet_;
};

}  // namespace

int32_t cueModeStride(CueTrackMode mode) {
    switch (mode) {
    case CueTrackMode::kMode1User: return kForm1UserSize;
    case CueTrackMode::kMode2User:
    case CueTrackMode::kCdiUser: return kMode2UserSize;
    case CueTrackMode::kCdg: return kRawSectorSize + kSubchannelSize;
    default: return kRawSectorSize;
    }
}

bool cueModeIsAudio(CueTrackMode mode) { return mode == CueTrackMode::kAudio || mode == CueTrackMode::kCdg; }

std::string parseCueSheet(const std::string& text, CueSheet& sheet) {
    sheet = CueSheet{};
    if (text.find('\0') != std::string::npos) return "not a text sheet";
    size_t start = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    Parser parser(sheet);
    int lineNumber = 0;
    while (start < text.size()) {
        size_t end = text.find_first_of("\r\n", start);
        if (end == std::string::npos) end = text.size();
        const std::string line = text.substr(start, end - start);
        ++lineNumber;
        start = end + 1;
        if (end < text.size() && text[end] == '\r' && start < text.size() && text[start] == '\n') ++start;
        const std::vector<Word> words = splitLine(line);
        if (words.empty() || words[0].quoted) continue;
        const std::string reason = parser.line(words);
        if (!reason.empty()) return "line " + std::to_string(lineNumber) + ": " + reason;
    }
    if (sheet.tracks.empty()) return "no track";
    for (const CueTrack& track : sheet.tracks) {
        bool hasOne = false;
        for (const CueIndex& index : track.indexes) hasOne = hasOne || index.number == 1;
        if (!hasOne) return "track " + std::to_string(track.number) + " has no INDEX 01";
    }
    return {};
}

}  // namespace lumadisc
