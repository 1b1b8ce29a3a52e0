// The CD audio player through the built plugin: what reaches the sound device (OpenAL Soft's file
// backend) and the host's spuPlayCDDA, the hand-over of the reader between the host's thread and the
// streaming thread, and the thread's life across open, play, stop and close.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <thread>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/e2e/tool_runner.h"

// OpenAL Soft is not built with ThreadSanitizer: its mixer thread and the calls into it meet through
// atomics the sanitizer cannot see, so races reported inside it are not ours to judge. The same
// suppression goes to the tool when a test runs it.
static constexpr const char* kTsanSuppressions = "race:libopenal.so.1\n";
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() { return kTsanSuppressions; }

namespace lumadisc::e2e {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Samples = std::vector<int16_t>;

// OpenAL Soft reads ALSOFT_CONF once, at its first use in a process, so the file backend is set up
// before any test of the process runs: every sound device opened here writes this one file,
// rewritten at each open and complete once the device is closed.
struct WaveBackend {
    host::ScratchDir dir{"lumadisc-sound"};
    std::string wav = dir.file("out.wav");
    WaveBackend() {
        std::ofstream(dir.file("alsoft.conf")) << "[general]\ndrivers = wave\nfrequency = 44100\nsample-type = int16\n"
                                                  "dither = false\noutput-limiter = false\n[wave]\nfile = " << wav << "\n";
        setenv("ALSOFT_CONF", dir.file("alsoft.conf").c_str(), 1);
        std::ofstream(dir.file("tsan.supp")) << kTsanSuppressions;
        const char* options = std::getenv("TSAN_OPTIONS");
        setenv("TSAN_OPTIONS", ((options ? options : "") + (" suppressions=" + dir.file("tsan.supp"))).c_str(), 1);
    }
};
const WaveBackend g_sound;

uint32_t le(const std::string& bytes, size_t at, int count) {
    uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
    return value;
}

// A RIFF WAVE file (WAVE_FORMAT_EXTENSIBLE or plain PCM): channels, rate, bits and the "data" chunk.
Samples readWave(const std::string& path, uint32_t format[3]) {
    const std::string bytes = host::readFile(path);
    for (size_t at = 12; bytes.size() > 12 && bytes.compare(8, 4, "WAVE") == 0 && at + 8 <= bytes.size();) {
        const size_t size = le(bytes, at + 4, 4), body = at + 8;
        if (bytes.compare(at, 4, "fmt ") == 0) {
            for (int i = 0; i < 3; ++i) format[i] = le(bytes, body + (i == 0 ? 2 : i == 1 ? 4 : 14), i == 1 ? 4 : 2);
        } else if (bytes.compare(at, 4, "data") == 0) {
            Samples samples(std::min(size, bytes.size() - body) / 2);
            std::memcpy(samples.data(), bytes.data() + body, samples.size() * 2);
            return samples;
        }
        at = body + size + (size & 1);
    }
    return {};
}

// The player's mix of one raw sector, one value per frame: ((left + right) * volume) / 100,
// truncated toward zero and clamped to 16 bits.
Samples monoMix(const std::vector<uint8_t>& raw, int volume) {
    Samples out;
    for (size_t i = 0; i + 4 <= raw.size(); i += 4) {
        const int32_t left = static_cast<int16_t>(raw[i] | raw[i + 1] << 8);
        const int32_t right = static_cast<int16_t>(raw[i + 2] | raw[i + 3] << 8);
        out.push_back(static_cast<int16_t>(std::clamp((left + right) * volume / 100, -32768, 32767)));
    }
    return out;
}

struct Match {
    size_t lag = 0;
    double correlation = 0, rmsRatio = 0, exact = 0;
};

// `want` found in `got` near where both begin to sound: the lag of the best normalised
// cross-correlation, with the level ratio and the share of bit-exact samples there.
Match align(const Samples& got, const Samples& want) {
    auto onset = [](const Samples& s) { return std::find_if(s.begin(), s.end(), [](int16_t v) { return v; }) - s.begin(); };
    const long centre = static_cast<long>(onset(got) - onset(want));
    Match best;
    for (long lag = std::max(0L, centre - 8); lag <= centre + 8; ++lag) {
        double xy = 0, xx = 0, yy = 0, exact = 0;
        for (size_t i = 0; i < want.size(); ++i) {
            const double x = lag + i < got.size() ? got[lag + i] : 0, y = want[i];
            xy += x * y, xx += x * x, yy += y * y, exact += x == y;
        }
        const double correlation = xx > 0 && yy > 0 ? xy / std::sqrt(xx * yy) : 0;
        if (correlation > best.correlation)
            best = {static_cast<size_t>(lag), correlation, std::sqrt(xx / yy), exact / want.size()};
    }
    return best;
}

// Mode 2 Form 1 sectors (sync pattern, header, user data) of a data track.
void dataSector(Lba lba, int32_t, fixtures::Sector& sector) {
    uint8_t user[2048];
    for (int i = 0; i < 2048; ++i) user[i] = fixtures::patternByte(lba, i);
    sector = fixtures::form1Sector(lba, user);
}

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    for (const auto end = Clock::now() + limit; !done(); std::this_thread::sleep_for(1ms))
        if (Clock::now() > end) return false;
    return true;
}

double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

size_t threadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

class AudioPlayer : public PluginHarness {
protected:
    // 32 data sectors, a tone track, and optionally 16 data sectors after it.
    fixtures::CueImage toneDisc(int audioSectors, const fixtures::Tone& tone, bool dataAfter = false) {
        fixtures::CueImageBuilder builder;
        builder.addDataTrack(32, dataSector).addAudioTrack(audioSectors, [tone](Lba, int32_t n, fixtures::Sector& s) {
            s = fixtures::toneSector(tone, n);
        });
        if (dataAfter) builder.addDataTrack(16, dataSector);
        return writeCue(builder);
    }
    static fixtures::PluginIni settings(const fixtures::CueImage& image, int volume = 100) {
        fixtures::PluginIni ini = settingsFor(image.cuePath, false);
        ini.playCdda = true;
        ini.extra.push_back({"cdrom property", {"cddavolumelevel", std::to_string(volume)}});
        return ini;
    }
    void play(Lba lba) {
        const Msf at = msfFromLba(lba);
        unsigned char time[3] = {at.minute, at.second, at.frame};
        ASSERT_EQ(api().play(time), 0);
    }
    CdrStat status() {
        CdrStat stat{};
        api().getStatus(&stat);
        return stat;
    }
    Lba position() {
        const CdrStat s = status();
        return lbaFromMsf(binaryFromBcd(s.Time[0]), binaryFromBcd(s.Time[1]), binaryFromBcd(s.Time[2]));
    }
    bool playing() { return (status().Status & LUMADISC_STATUS_PLAYING) != 0; }
};

TEST_F(AudioPlayer, TheSoundDeviceGetsTheMonoMixAtTheVolumeAndADataSectorPlaysSilence) {
    struct Case {
        const char* name;
        fixtures::Tone tone;
        int volume;
    } const cases[] = {
        {"volume 50: the mean of two different channels", {1000.0, 12000, 1500.0}, 50},
        {"volume 100: the sum, clamped to 16 bits", {700.0, 20000, 0.0}, 100},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto image = toneDisc(45, c.tone, true);
        ASSERT_EQ(openWith(settings(image, c.volume)), 0);
        const Lba start = image.trackStarts[1], dataAfter = image.trackStarts[2];
        play(start);
        // Playback runs on into the next track, whose data sector plays as silence without moving on.
        ASSERT_TRUE(waitUntil([&] { return position() == dataAfter; }, 5000ms)) << position();
        std::this_thread::sleep_for(150ms);
        EXPECT_EQ(position(), dataAfter);
        EXPECT_TRUE(playing());
        closePlugin();  // the device closes: the file is complete

        uint32_t format[3] = {};
        const Samples stereo = readWave(g_sound.wav, format);
        ASSERT_EQ(format[0], 2u) << "no output from the sound device in " << g_sound.wav;
        EXPECT_EQ(format[1], 44100u);
        EXPECT_EQ(format[2], 16u);
        Samples left;
        for (size_t i = 0; i + 1 < stereo.size(); i += 2) {
            left.push_back(stereo[i]);
            ASSERT_EQ(stereo[i], stereo[i + 1]) << "both channels carry the one mono mix, frame " << i / 2;
        }
        Samples want;
        for (Lba lba = start; lba < dataAfter; ++lba) {
            const Samples sector = monoMix(binSector(image.binPath, lba), c.volume);
            want.insert(want.end(), sector.begin(), sector.end());
        }
        const Match m = align(left, want);
        std::printf("[ measured ] %s: correlation %.6f, level ratio %.4f, bit-exact %.2f%% from frame %zu\n", c.name,
                    m.correlation, m.rmsRatio, 100 * m.exact, m.lag);
        EXPECT_GT(m.correlation, 0.99);
        EXPECT_NEAR(m.rmsRatio, 1.0, 0.02);
        EXPECT_GT(m.exact, 0.99) << "the file backend passes 16-bit samples through unchanged";
        ASSERT_GE(left.size(), m.lag + want.size());
        EXPECT_TRUE(std::all_of(left.begin() + m.lag + want.size(), left.end(), [](int16_t v) { return v == 0; }))
            << "the data sector after the track plays as silence";
    }
}

TEST_F(AudioPlayer, StopAndEveryDataReadEndPlaybackAndHandTheReaderBack) {
    const auto image = toneDisc(3000, {440.0, 8000, 0.0});
    ASSERT_EQ(openWith(settings(image)), 0);
    const Lba audio = image.trackStarts[1];

    auto cpuSeconds = [] {
        rusage r{};
        getrusage(RUSAGE_SELF, &r);
        return r.ru_utime.tv_sec + r.ru_stime.tv_sec + (r.ru_utime.tv_usec + r.ru_stime.tv_usec) / 1e6;
    };
    const double cpu = cpuSeconds();
    const auto started = Clock::now();
    play(audio);
    std::this_thread::sleep_for(1500ms);
    const double seconds = microsecondsSince(started) / 1e6, used = cpuSeconds() - cpu;
    const Lba reached = position();
    std::printf("[ measured ] playing: %.1f sectors/s, process CPU %.2f%% (%.2f ms per second of audio)\n",
                (reached - audio) / seconds, 100 * used / seconds, 1000 * used / seconds);
    EXPECT_GT(reached, audio);
    EXPECT_TRUE(playing());

    std::vector<double> stops, reads;
    for (int i = 0; i < 24; ++i) {
        SCOPED_TRACE(i);
        play(audio + 100 * i);
        std::this_thread::sleep_for(std::chrono::milliseconds(7 * (i % 4)));
        const auto t = Clock::now();
        if (i % 2 == 0) {
            EXPECT_EQ(api().stop(), 0);
            stops.push_back(microsecondsSince(t));
        } else {  // a sector of the data track: the read stops playback first
            const host::SectorRead read = host().readSector(i);
            reads.push_back(microsecondsSince(t));
            const std::vector<uint8_t> raw = binSector(image.binPath, i);
            EXPECT_EQ(std::memcmp(read.header, raw.data() + 12, 4), 0);
            EXPECT_EQ(std::memcmp(read.data, raw.data() + 24, sizeof read.data), 0);
            EXPECT_EQ(position(), i) << "the streaming thread moved the position after the read";
        }
        EXPECT_FALSE(playing());
        const Lba stopped = position();
        std::this_thread::sleep_for(20ms);
        EXPECT_EQ(position(), stopped) << "playback went on after the stop";
    }
    std::sort(stops.begin(), stops.end());
    std::sort(reads.begin(), reads.end());
    std::printf("[ measured ] while playing: CDRstop median %.1f us, max %.1f us; CDRreadTrack median %.1f us, "
                "max %.1f us\n", stops[stops.size() / 2], stops.back(), reads[reads.size() / 2], reads.back());
}

TEST_F(AudioPlayer, OpenPlayStopAndCloseLoopsLeaveNoThreadBehind) {
    const auto image = toneDisc(400, {440.0, 8000, 0.0});
    const Lba audio = image.trackStarts[1];
    size_t baseline = 0;  // after a first cycle: a sanitizer may start a thread of its own on the way
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(openWith(settings(image)), 0);
        play(audio + i);
        std::this_thread::sleep_for(std::chrono::milliseconds(3 * i));
        if (i % 2 != 0) {
            api().stop();
            play(audio);
        }
        closePlugin();  // while playing
        if (i == 0) baseline = threadCount();
        EXPECT_EQ(threadCount(), baseline);
    }
    // CD audio off at open: no streaming thread; the drive plays silently and stop returns at once.
    auto off = settings(image);
    off.playCdda = false;
    ASSERT_EQ(openWith(off), 0);
    play(audio);
    EXPECT_TRUE(playing());
    EXPECT_EQ(position(), audio);
    api().stop();
    EXPECT_FALSE(playing());
    closePlugin();
    EXPECT_EQ(threadCount(), baseline);
}

TEST_F(AudioPlayer, TheToolPlaysATrackAtTheVolumeIntoAWaveFileAndRefusesADataTrack) {
    const auto image = toneDisc(150, {1000.0, 12000, 0.0});
    const std::string wav = dir() + "/tool.wav";
    const ToolResult run =
        runLumadisc(scratch_, {"play", image.cuePath, "2", "--seconds", "1", "--volume", "50", "--wav", wav});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_NE(run.out.find("stopped after"), std::string::npos) << run.out;
    uint32_t format[3] = {};
    const Samples samples = readWave(wav, format);
    const int peak = std::accumulate(samples.begin(), samples.end(), 0, [](int m, int16_t v) { return std::max(m, std::abs(v)); });
    EXPECT_GT(peak, 11900) << "volume 50 of two equal channels is either channel";
    EXPECT_LE(peak, 12000);
    const ToolResult data = runLumadisc(scratch_, {"play", image.cuePath, "1"});
    EXPECT_EQ(data.exitCode, 1) << describeRun(data);
    EXPECT_NE(data.err.find("data track"), std::string::npos) << data.err;
}

// The extended face: CD audio goes to the host's spuPlayCDDA from the plugin's own thread.
TEST_F(AudioPlayer, PlayFeedsSpuPlayCddaFromTheStreamingThreadUntilStopOrPause) {
    const auto image = toneDisc(1500, {1000.0, 12000, 1500.0});
    std::string error;
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settings(image, 50), &error)) << error;
    host::ConsoleHost console;
    console.setCddaRecorder(4096, 2000);  // a sound processor that takes a block every 2 ms
    ASSERT_TRUE(console.load(LUMADISC_PLUGIN_PATH)) << console.error();
    ASSERT_EQ(console.init(), 0);
    ASSERT_EQ(console.open(), 0);
    host::ConsoleDriver driver(console);
    const Lba audio = image.trackStarts[1];
    const Msf at = msfFromLba(audio);
    const std::vector<uint8_t> setloc = {lumadisc::bcdFromBinary(at.minute), lumadisc::bcdFromBinary(at.second), lumadisc::bcdFromBinary(at.frame)};
    auto startPlay = [&] {
        ASSERT_TRUE(driver.command(host::kCmdSetloc, setloc).complete);
        ASSERT_TRUE(driver.command(host::kCmdPlay).complete);
    };
    auto audible = [](const std::vector<uint8_t>& b) { return std::any_of(b.begin(), b.end(), [](uint8_t v) { return v; }); };

    for (const uint8_t ending : {host::kCmdPause, host::kCmdStop}) {
        SCOPED_TRACE(host::ConsoleDriver::commandName(ending));
        console.clearCdda();
        startPlay();
        if (ending == host::kCmdPause) {
            ASSERT_TRUE(driver.command(host::kCmdMute).complete);  // mutes XA only
        }
        // The emulated clock stands still from here: whatever arrives comes from the plugin's thread.
        ASSERT_TRUE(console.waitCdda(console.cddaCount() + 40, 5000));
        const auto blocks = console.cddaBlocks();
        const auto first = std::find_if(blocks.begin(), blocks.end(), audible);
        ASSERT_LE(first + 20, blocks.end());
        for (int k = 0; k < 20; ++k) {
            Samples left, right;
            for (size_t i = 0; i < first[k].size(); i += 2) (i % 4 ? right : left).push_back(first[k][i] | first[k][i + 1] << 8);
            EXPECT_EQ(left, right);
            ASSERT_EQ(left, monoMix(binSector(image.binPath, audio + k), 50)) << "block " << k;
        }
        ASSERT_TRUE(driver.command(ending).complete);
        ASSERT_TRUE(console.waitCdda(console.cddaCount() + 1, 5000));  // one may have been on its way
        const uint64_t total = console.cddaCount(), silent = console.cddaSilentCount();
        ASSERT_TRUE(console.waitCdda(total + 20, 5000));
        EXPECT_EQ(console.cddaSilentCount() - silent, console.cddaCount() - total) << "CD audio went on";
    }

    // Reads while playing, and a close while playing, with a host that takes blocks at once.
    console.setCddaRecorder(8, 0);
    ASSERT_TRUE(driver.command(host::kCmdSetmode, {0x00}).complete);  // 2048-byte sectors
    for (Lba lba = 20; lba < 25; ++lba) {
        startPlay();
        const auto sectors = driver.readSectors(lba, 2);
        ASSERT_EQ(sectors.size(), 2u);
        const auto raw = binSector(image.binPath, lba);
        EXPECT_TRUE(std::equal(raw.begin() + 24, raw.begin() + 24 + 2048, sectors[0].begin()));
    }
    startPlay();
    console.bringDown();
}

}  // namespace
}  // namespace lumadisc::e2e
