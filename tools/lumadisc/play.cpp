// lumadisc play: plays one CD audio track of a disc through the plugin's classic face, as an emulator
// does with CDRplay: the plugin's streaming thread reads the sectors, mixes them to mono at the
// volume and plays them on the default sound device, or, with --wav, into a WAVE file written by
// OpenAL Soft's file backend.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

#include "host/scratch_dir.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

namespace {

constexpr long kMaxSeconds = 24 * 3600;
// The audio still queued in the sound device when the player stops (five sectors) plays out first.
constexpr auto kTail = std::chrono::milliseconds(120);

struct PlayOptions {
    std::string disc;
    long track = 0;
    long seconds = -1;  // -1: to the end of the track
    long volume = 100;
    std::string wav;
};

int parse(const Arguments& arguments, PlayOptions* out) {
    Arguments positional;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--seconds" || word == "--volume" || word == "--wav") {
            if (i + 1 >= arguments.size()) {
                std::fprintf(stderr, "lumadisc: %s needs a value\n", word.c_str());
                return kExitUsage;
            }
            const std::string& value = arguments[++i];
            if (word == "--wav") {
                out->wav = value;
            } else if (word == "--seconds") {
                if (!parseNumber(value, &out->seconds) || out->seconds < 0 || out->seconds > kMaxSeconds) {
                    std::fprintf(stderr, "lumadisc: --seconds takes a whole number from 0 to %ld\n", kMaxSeconds);
                    return kExitUsage;
                }
            } else if (!parseNumber(value, &out->volume) || out->volume < 0 || out->volume > 100) {
                std::fprintf(stderr, "lumadisc: --volume takes a whole number from 0 to 100\n");
                return kExitUsage;
            }
        } else {
            positional.push_back(word);
        }
    }
    if (positional.size() != 2) return usageError("play");
    out->disc = positional[0];
    if (!parseNumber(positional[1], &out->track) || out->track < 1 || out->track > 99) {
        std::fprintf(stderr, "lumadisc: TRACK is a track number from 1 to 99\n");
        return kExitUsage;
    }
    return kExitOk;
}

// OpenAL Soft reads its configuration from the file that ALSOFT_CONF names; the file backend then
// writes 16-bit samples exactly as mixed.
bool writeWaveConfig(const std::string& configPath, const std::string& wavPath) {
    std::ofstream out(configPath);
    out << "[general]\n"
           "drivers = wave\n"
           "channels = stereo\n"
           "frequency = 44100\n"
           "sample-type = int16\n"
           "dither = false\n"
           "output-limiter = false\n"
           "\n"
           "[wave]\n"
           "file = "
        << wavPath << "\n";
    out.close();
    return static_cast<bool>(out) && setenv("ALSOFT_CONF", configPath.c_str(), 1) == 0;
}

Lba statusLba(const CdrStat& status) {
    return lbaFromMsf(binaryFromBcd(status.Time[0]), binaryFromBcd(status.Time[1]), binaryFromBcd(status.Time[2]));
}

std::string clockText(double seconds) {
    char text[32];
    const int whole = static_cast<int>(seconds);
    std::snprintf(text, sizeof text, "%02d:%05.2f", whole / 60, seconds - whole / 60 * 60);
    return text;
}

// The plugin's streaming thread opens the sound device as the disc opens and logs either the device
// it got or that none opens; a few seconds bound the wait for a thread that says neither.
bool soundDeviceOpened(const std::string& logPath) {
    for (int wait = 0; wait < 300; ++wait) {
        const std::string log = host::readFile(logPath);
        if (log.find("[CDR] Warning: no sound device opens") != std::string::npos) return false;
        if (log.find("[CDR] ALC_DEVICE_SPECIFIER") != std::string::npos) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace

int runPlay(const CommonOptions& options, const Arguments& arguments) {
    PlayOptions play;
    if (const int code = parse(arguments, &play); code != kExitOk) return code;
    std::string wav;
    SessionSetup setup;
    setup.playCdda = true;
    setup.settings.push_back({"cdrom property", {"cddavolumelevel", std::to_string(play.volume)}});
    // The plugin says in its log whether a sound device opened; the sound library's own lines stay
    // off the terminal unless --log asks for the plugin's.
    setup.logging = true;
    if (!options.log) setenv("ALSOFT_LOGLEVEL", "0", 0);
    if (!play.wav.empty()) {
        wav = host::absolutePath(play.wav);
        setup.beforeLoad = [&](const host::ScratchDir& scratch) {
            std::error_code error;
            std::filesystem::remove(wav, error);
            if (error) {
                std::fprintf(stderr, "lumadisc: cannot replace %s: %s\n", wav.c_str(), error.message().c_str());
                return false;
            }
            if (!writeWaveConfig(scratch.file("alsoft.conf"), wav)) {
                std::fprintf(stderr, "lumadisc: cannot write the sound configuration\n");
                return false;
            }
            return true;
        };
    }
    Session session(options);
    if (const int code = session.start(play.disc, setup); code != kExitOk) return code;
    host::ClassicHost& host = session.classic();
    const auto& api = host.api();
    const std::string& disc = session.disc();
    auto finish = [&](int code) { return session.finish(code); };

    if (!soundDeviceOpened(session.scratch().file("lumaDisc.log"))) {
        std::fprintf(stderr, "lumadisc: no sound device opens, nothing is played (--wav FILE writes the track to a file)\n");
        return finish(kExitFailure);
    }
    const auto tracks = host.tracks();
    const host::TrackInfo* track = nullptr;
    for (const auto& t : tracks) {
        if (t.number == play.track) track = &t;
    }
    if (track == nullptr) {
        std::fprintf(stderr, "lumadisc: the disc has no track %ld (tracks 1 to %zu)\n", play.track, tracks.size());
        return finish(kExitFailure);
    }
    if (!track->audio) {
        std::fprintf(stderr, "lumadisc: track %ld is a data track\n", play.track);
        return finish(kExitFailure);
    }

    const double trackSeconds = track->length / 75.0;
    const double limit = play.seconds >= 0 && play.seconds < trackSeconds ? static_cast<double>(play.seconds)
                                                                          : trackSeconds;
    std::printf("playing track %ld of %s: %s, LBA %d, %s at volume %ld%s%s\n", play.track, disc.c_str(),
                msfText(track->start).c_str(), track->lba, clockText(trackSeconds).c_str(), play.volume,
                wav.empty() ? "" : ", into ", wav.c_str());
    std::fflush(stdout);

    const bool terminal = isatty(STDOUT_FILENO) != 0;
    unsigned char at[3] = {track->start.minute, track->start.second, track->start.frame};
    const auto started = std::chrono::steady_clock::now();
    api.play(at);
    double played = 0;
    int lastSecond = -1;
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        CdrStat status{};
        api.getStatus(&status);
        const Lba lba = statusLba(status);
        played = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        const bool done = played >= limit || lba >= track->lba + track->length;
        const double position = (lba - track->lba) / 75.0;
        if (terminal) {
            std::printf("\r  %s / %s  LBA %d ", clockText(position).c_str(), clockText(trackSeconds).c_str(), lba);
            std::fflush(stdout);
        } else if (static_cast<int>(played) != lastSecond || done) {
            lastSecond = static_cast<int>(played);
            std::printf("  %s / %s  LBA %d\n", clockText(position).c_str(), clockText(trackSeconds).c_str(), lba);
        }
        if (done) break;
    }
    api.stop();
    std::this_thread::sleep_for(kTail);
    if (terminal) std::printf("\n");
    std::printf("stopped after %.2f s\n", played);

    const int code = finish(kExitOk);
    if (!wav.empty()) {
        std::error_code sizeError;
        const auto size = std::filesystem::file_size(wav, sizeError);
        if (sizeError || size <= 44) {
            std::fprintf(stderr, "lumadisc: OpenAL wrote no sound to %s\n", wav.c_str());
            return kExitFailure;
        }
        std::printf("wrote %s (%ju bytes)\n", wav.c_str(), static_cast<uintmax_t>(size));
    }
    return code;
}

}  // namespace lumadisc::tool
