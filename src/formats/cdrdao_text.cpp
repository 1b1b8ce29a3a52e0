#include "formats/cdrdao_text.h"

#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "config/log.h"
#include "config/settings.h"
#include "formats/audio_file.h"
#include "formats/cue_layout.h"
#include "formats/description_text.h"
#include "formats/file_lookup.h"
#include "formats/image_file.h"

namespace lumadisc {


namespace {

constexpr int64_t kMaxTocBytes = 1 << 20;
constexpr size_t kHeadBytes = 512;
constexpr int kMaxTracks = 99;
constexpr int kMaxIndexes = 98;
constexpr int kBytesPerSample = 4;

struct Token {
    std::string text;
    bool string = false;
};

// Words, quoted strings (with backslash escapes) and braces; // comments end at the line's end.
std::vector<Token> tokenize(const std::string& text) {
    std::vector<Token> tokens;
    size_t i = 0;
    while (i < text.size()) {
        const char c = text[i];
        if (std::isspace(static_cast<unsigned char>(c))) {
            ++i;
        } else if (c == '/' && i + 1 < text.size() && text[i + 1] == '/') {
            while (i < text.size() && text[i] != '\n') ++i;
        } else if (c == '"') {
            std::string value;
            ++i;
            while (i < text.size() && text[i] != '"') {
                if (text[i] == '\\' && i + 1 < text.size()) ++i;
                value += text[i++];
            }
            ++i;
            tokens.push_back({value, true});
        } else if (c == '{' || c == '}' || c == ',') {
            tokens.push_back({std::string(1, c), false});
            ++i;
        } else {
            const size_t start = i;
            while (i < text.size() && !std::isspace(static_cast<unsigned char>(text[i])) && text[i] != '"' &&
                   text[i] != '{' && text[i] != '}' && text[i] != ',' &&
                   !(text[i] == '/' && i + 1 < text.size() && text[i + 1] == '/'))
                ++i;
            tokens.push_back({text.substr(start, i - start), false});
        }
    }
    return tokens;
}

struct Mode {
    const char* name;
    int32_t bytes;
    SectorForm form;
    SectorForm gap;
};

const Mode kModes[] = {
    {"AUDIO", kRawSectorSize, SectorForm::kAudioSwapped, SectorForm::kSilence},
    {"MODE0", kForm1UserSize, SectorForm::kMode1User, SectorForm::kEmptyMode1},
    {"MODE1", kForm1UserSize, SectorForm::kMode1User, SectorForm::kEmptyMode1},
    {"MODE1_RAW", kRawSectorSize, SectorForm::kRaw, SectorForm::kEmptyMode1},
    {"MODE2", kMode2UserSize, SectorForm::kMode2User, SectorForm::kEmptyMode2},
    {"MODE2_FORM1", kForm1UserSize, SectorForm::kForm1User, SectorForm::kEmptyMode2},
    {"MODE2_FORM2", kForm2UserSize, SectorForm::kForm2User, SectorForm::kEmptyMode2},
    {"MODE2_FORM_MIX", kMode2UserSize, SectorForm::kMode2User, SectorForm::kEmptyMode2},
    {"MODE2_RAW", kRawSectorSize, SectorForm::kRaw, SectorForm::kEmptyMode2},
};

const Mode* modeNamed(const std::string& word) {
    for (const Mode& mode : kModes) {
        if (word == mode.name) return &mode;
    }
    return nullptr;
}

// One statement's sectors: from a file (file >= 0) or generated.
struct Piece {
    int32_t file = -1;
    int64_t offset = 0;
    int64_t bytes = 0;
    SectorForm form = SectorForm::kRaw;
};

struct Track {
    const Mode* mode = nullptr;
    int32_t stride = 0;
    uint8_t control = 0;
    std::vector<Piece> pieces;
    int64_t start = -1;            // sectors of pre-gap (START), -1 none
    std::vector<int64_t> indexes;  // positions of index 2, 3, ... from INDEX 01
};

bool isTime(const std::string& word) { return word.find(':') != std::string::npos; }

bool parseUnsigned(const std::string& word, int64_t* value) {
    if (word.empty() || word.size() > 12) return false;
    int64_t result = 0;
    for (const char c : word) {
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
        result = result * 10 + (c - '0');
    }
    *value = result;
    return true;
}

// "mm:ss:ff" in sectors.
bool parseTime(const std::string& word, int64_t* sectors) {
    int minute = 0, second = 0, frame = 0;
    char extra = 0;
    if (std::sscanf(word.c_str(), "%3d:%2d:%2d%c", &minute, &second, &frame, &extra) != 3) return false;
    if (minute < 0 || second < 0 || second >= kSecondsPerMinute || frame < 0 || frame >= kFramesPerSecond) return false;
    *sectors = (static_cast<int64_t>(minute) * kSecondsPerMinute + second) * kFramesPerSecond + frame;
    return true;
}

class Parser {
public:
    Parser(const std::vector<Token>& tokens, const std::string& tocPath, ExtentTable& table)
        : t_(tokens), tocPath_(tocPath), table_(table) {}

    std::string run(std::string* missingPath) {
        missingPath_ = missingPath;
        std::string reason;
        while (reason.empty() && i_ < t_.size()) reason = statement();
        if (!reason.empty()) return reason;
        if (tracks_.empty()) return "no track";
        return layout();
    }

private:
    bool more() const { return i_ < t_.size(); }
    const Token& peek() const { return t_[i_]; }
    bool peekIs(const char* word) const { return more() && !peek().string && peek().text == word; }

    // A length: "mm:ss:ff" in blocks, or a plain number in samples (audio) or bytes (data).
    bool length(int64_t* bytes, int32_t stride, bool samples) {
        if (!more() || peek().string) return false;
        int64_t value = 0;
        if (isTime(peek().text)) {
            if (!parseTime(peek().text, &value)) return false;
            *bytes = value * stride;
        } else {
            if (!parseUnsigned(peek().text, &value)) return false;
            *bytes = samples ? value * kBytesPerSample : value;
        }
        ++i_;
        return true;
    }
    bool optionalLength(int64_t* bytes, int32_t stride, bool samples) {
        if (!more() || peek().string || (!isTime(peek().text) && !std::isdigit(static_cast<unsigned char>(peek().text[0]))))
            return false;
        return length(bytes, stride, samples);
    }

    std::string skipBlock() {
        if (!peekIs("{")) return "CD_TEXT without its block";
        int depth = 0;
        while (more()) {
            if (peekIs("{")) ++depth;
            if (peekIs("}")) --depth;
            ++i_;
            if (depth == 0) return {};
        }
        return "CD_TEXT block not closed";
    }

    // Each name is looked up and opened once, however many statements use it.
    int32_t fileNamed(const std::string& name, bool decoded, int64_t* size) {
        const auto known = files_.find(name);
        if (known != files_.end()) {
            *size = known->second.second;
            return known->second.first;
        }
        const int32_t file = lookUp(name, decoded, size);
        if (file >= 0) files_[name] = {file, *size};
        return file;
    }

    int32_t lookUp(const std::string& name, bool decoded, int64_t* size) {
        const std::string path = findNamedFile(tocPath_, name);
        if (path.empty()) {
            if (missingPath_) *missingPath_ = namedFilePath(tocPath_, name);
            return -1;
        }
        struct stat own {}, named {};
        if (stat(tocPath_.c_str(), &own) == 0 && stat(path.c_str(), &named) == 0 && own.st_dev == named.st_dev &&
            own.st_ino == named.st_ino) {
            namesItself_ = true;
            return -1;
        }
        std::string reason;
        *size = decoded ? AudioFile::decodedSizeOf(path, &reason) : ImageFile::sizeOf(path.c_str());
        if (*size < 0) {
            if (missingPath_) *missingPath_ = path;
            return -1;
        }
        return table_.addFile(path, decoded);
    }

    std::string statement() {
        const Token& token = t_[i_++];
        if (token.string) return "a string where a keyword belongs";
        const std::string& w = token.text;
        if (w == "CD_DA" || w == "CD_ROM" || w == "CD_ROM_XA" || w == "CD_I") return {};
        if (w == "CATALOG" || w == "ISRC") return more() && peek().string ? (++i_, std::string()) : w + " without its code";
        if (w == "CD_TEXT") return skipBlock();
        if (w == "TRACK") return track();
        if (tracks_.empty()) return "unknown keyword " + w.substr(0, 32);
        Track& track = tracks_.back();
        if (w == "NO") {
            if (!more()) return "NO at the end";
            ++i_;
            return {};
        }
        if (w == "COPY") track.control |= kControlCopyPermitted;
        else if (w == "PRE_EMPHASIS") track.control |= kControlPreEmphasis;
        else if (w == "FOUR_CHANNEL_AUDIO") track.control |= kControlFourChannel;
        else if (w == "TWO_CHANNEL_AUDIO") {}
        else if (w == "SILENCE" || w == "ZERO") return generated(track, w == "ZERO");
        else if (w == "FILE" || w == "AUDIOFILE" || w == "DATAFILE") return fromFile(track, w == "DATAFILE");
        else if (w == "START") return start(track);
        else if (w == "PREGAP") {
            int64_t bytes = 0;
            if (track.start >= 0 || !track.pieces.empty() || !length(&bytes, track.stride, false)) return "bad PREGAP";
            track.pieces.push_back({-1, 0, bytes, track.mode->gap});
            track.start = bytes / track.stride;
        } else if (w == "INDEX") {
            int64_t bytes = 0;
            if (!length(&bytes, track.stride, false) || bytes == 0) return "bad INDEX";
            if (track.indexes.size() >= kMaxIndexes) return "too many INDEX lines";
            if (!track.indexes.empty() && bytes / track.stride <= track.indexes.back()) return "INDEX times go back";
            track.indexes.push_back(bytes / track.stride);
        } else {
            return "unknown keyword " + w.substr(0, 32);
        }
        return {};
    }

    std::string track() {
        if (tracks_.size() >= kMaxTracks) return "more than 99 tracks";
        if (!tracks_.empty() && tracks_.back().pieces.empty()) return "a track without data";
        if (!more()) return "TRACK without a mode";
        Track track;
        track.mode = modeNamed(t_[i_++].text);
        if (track.mode == nullptr) return "unknown track mode";
        track.stride = track.mode->bytes;
        track.control = track.mode->form == SectorForm::kAudioSwapped ? 0 : kControlData;
        if (peekIs("RW") || peekIs("RW_RAW")) {
            ++i_;
            track.stride += kSubchannelSize;
        }
        tracks_.push_back(track);
        return {};
    }

    std::string generated(Track& track, bool zero) {
        if (zero && more() && (modeNamed(peek().text) || peekIs("RW") || peekIs("RW_RAW"))) {
            ++i_;
            if (peekIs("RW") || peekIs("RW_RAW")) ++i_;
        }
        int64_t bytes = 0;
        if (!length(&bytes, track.stride, !zero)) return "bad length";
        track.pieces.push_back({-1, 0, bytes, track.mode->gap});
        return {};
    }

    std::string fromFile(Track& track, bool dataFile) {
        if (!more() || !peek().string) return "file statement without a name";
        const std::string name = t_[i_++].text;
        bool swapped = false;
        if (peekIs("SWAP")) {
            swapped = true;
            ++i_;
        }
        int64_t offset = 0;
        if (more() && !peek().string && !peek().text.empty() && peek().text[0] == '#') {
            if (!parseUnsigned(peek().text.substr(1), &offset)) return "bad #offset";
            ++i_;
        }
        const bool audio = track.mode->form == SectorForm::kAudioSwapped;
        const bool decoded = audio && name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".wav") == 0;
        int64_t size = 0;
        const int32_t file = fileNamed(name, decoded, &size);
        if (file < 0 && namesItself_) return "the TOC names itself as a data file";
        if (file < 0) return "file not found";
        int64_t startBytes = 0, bytes = 0;
        if (!dataFile && !length(&startBytes, kRawSectorSize, true)) return "FILE without a start";
        if (!optionalLength(&bytes, track.stride, audio) || bytes == 0) bytes = size - offset - startBytes;
        if (bytes <= 0) return "a file statement beyond the end of its file";
        SectorForm form = track.mode->form;
        if (decoded) form = SectorForm::kDecodedAudio;
        else if (audio && swapped) form = SectorForm::kAudio;
        track.pieces.push_back({file, offset + startBytes, bytes, form});
        return {};
    }

    std::string start(Track& track) {
        int64_t sectors = 0;
        for (const Piece& piece : track.pieces) sectors += (piece.bytes + track.stride - 1) / track.stride;
        int64_t bytes = 0;
        if (optionalLength(&bytes, track.stride, false)) sectors = bytes / track.stride;
        if (track.start >= 0) return "a second START or PREGAP";
        track.start = sectors;
        return {};
    }

    std::string layout() {
        Lba lba = 0;
        for (size_t n = 0; n < tracks_.size(); ++n) {
            const Track& track = tracks_[n];
            const int64_t pregap = track.start < 0 ? 0 : track.start;
            // Index boundaries in sectors from the track's first sector: 0 index 0, pregap index 1, ...
            std::vector<int64_t> bounds = {0, pregap};
            for (const int64_t at : track.indexes) bounds.push_back(pregap + at);
            int64_t sector = 0;
            for (const Piece& piece : track.pieces) {
                const int64_t count = (piece.bytes + track.stride - 1) / track.stride;
                for (int64_t done = 0; done < count;) {
                    size_t index = 0;
                    while (index + 1 < bounds.size() && bounds[index + 1] <= sector + done) ++index;
                    int64_t run = count - done;
                    if (index + 1 < bounds.size()) run = std::min(run, bounds[index + 1] - sector - done);
                    if (static_cast<int64_t>(lba) + run > kLastDiscSector + 1) return "the tracks reach beyond 99:59:74";
                    Extent e;
                    e.start = lba;
                    e.count = static_cast<int32_t>(run);
                    e.file = piece.file;
                    e.offset = piece.offset + done * track.stride;
                    e.stride = piece.file < 0 ? 0 : track.stride;
                    e.form = piece.form;
                    e.track = static_cast<uint8_t>(n + 1);
                    e.index = static_cast<uint8_t>(index);
                    e.type = track.mode->form == SectorForm::kAudioSwapped ? kTrackAudio : kTrackData;
                    e.control = track.control;
                    e.trackStart = static_cast<Lba>(lba - (sector + done) + pregap);
                    if (e.file >= 0 && e.offset > 0x7FFFFFFF) return "a sector lies beyond 2 GiB into its file";
                    table_.append(e);
                    lba += static_cast<Lba>(run);
                    done += run;
                }
                sector += count;
            }
            if (sector <= pregap) return "track " + std::to_string(n + 1) + " has no sector after its pre-gap";
        }
        return {};
    }

    const std::vector<Token>& t_;
    const std::string& tocPath_;
    ExtentTable& table_;
    std::vector<Track> tracks_;
    std::map<std::string, std::pair<int32_t, int64_t>> files_;
    size_t i_ = 0;
    std::string* missingPath_ = nullptr;
    bool namesItself_ = false;
};

}  // namespace

bool looksLikeTextToc(const uint8_t* head, size_t size) {
    std::string text(reinterpret_cast<const char*>(head), size);
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
    if (text.find('\0') != std::string::npos) text.resize(text.find('\0'));
    const std::vector<Token> tokens = tokenize(text);
    if (tokens.empty() || tokens[0].string) return false;
    static const char* const kFirstWords[] = {"CD_DA", "CD_ROM", "CD_ROM_XA", "CD_I", "CATALOG", "CD_TEXT", "TRACK"};
    for (const char* word : kFirstWords) {
        if (tokens[0].text == word) return true;
    }
    return false;
}

bool isTextTocFile(const char* path) {
    ImageFile file;
    if (!file.open(path)) return false;
    uint8_t head[kHeadBytes];
    return looksLikeTextToc(head, file.readAt(0, sizeof head, head));
}

std::string textTocLayout(const std::string& text, const std::string& tocPath, ExtentTable& table,
                          std::string* missingPath) {
    table.clear();
    if (text.find('\0') != std::string::npos) return "not a text TOC";
    const std::vector<Token> tokens = tokenize(text);
    return Parser(tokens, tocPath, table).run(missingPath);
}

int describeTextToc(const char* path, DiscDescription& disc) {
    ExtentTable& extents = disc.extents;
    const auto refuse = [path](const std::string& reason) {
        logWrite(kLogPlugin, "[CDR] Error: toc file not read (%s): %s.\n", path, reason.c_str());
    };
    std::string text;
    if (!readDescriptionText(path, kMaxTocBytes, text, refuse)) return -1;
    std::string missing;
    const std::string reason = textTocLayout(text, path, extents, &missing);
    if (!reason.empty()) {
        extents.clear();
        if (!missing.empty()) logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", missing.c_str());
        else refuse(reason);
        return -1;
    }
    return 0;
}

}  // namespace lumadisc
