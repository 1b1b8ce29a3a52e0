// The track list of a compressed image laid out on the disc, and the hunk cache's bound.
#include <gtest/gtest.h>

#include "formats/chd_hunk_cache.h"
#include "formats/chd_tracks.h"

namespace lumadisc {
namespace {

ChdMetadata entry(const std::string& text, const char* tag = "CHT2") {
    ChdMetadata m;
    m.tag = (uint32_t(uint8_t(tag[0])) << 24) | (uint32_t(uint8_t(tag[1])) << 16) | (uint32_t(uint8_t(tag[2])) << 8) |
            uint8_t(tag[3]);
    m.data.assign(text.begin(), text.end());
    m.data.push_back(0);
    return m;
}

std::string track(int n, const char* type, int frames, int pregap = 0, const char* pgtype = "MODE1", int postgap = 0) {
    return "TRACK:" + std::to_string(n) + " TYPE:" + type + " SUBTYPE:NONE FRAMES:" + std::to_string(frames) +
           " PREGAP:" + std::to_string(pregap) + " PGTYPE:" + pgtype + " PGSUB:NONE POSTGAP:" + std::to_string(postgap);
}

struct Placed {
    Lba gapStart, start, end, storedStart;
    int64_t imageFrame;
    bool operator==(const Placed&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Placed& p) {
    return out << "{" << p.gapStart << "," << p.start << "," << p.end << "," << p.storedStart << "," << p.imageFrame << "}";
}

TEST(ChdLayout, TracksLieOnTheDiscAsTheirGapsSayAndStartOnFourFrameBoundariesInTheImage) {
    struct Case {
        const char* name;
        std::vector<ChdMetadata> metadata;
        std::vector<Placed> expected;  // empty: rejected
        std::string reason = {};
    };
    const Case cases[] = {
        // A stored audio gap: index 01 150 frames into the track; 301 frames padded to 304.
        {"stored_gap",
         {entry(track(1, "MODE2_RAW", 301)), entry(track(2, "AUDIO", 450, 150, "VAUDIO")),
          entry(track(3, "AUDIO", 77))},
         {{0, 0, 301, 0, 0}, {301, 451, 751, 301, 304}, {751, 751, 828, 751, 756}}},
        // Gaps that are not stored take disc sectors of their own; track 1's lies ahead of sector 0.
        {"unstored_gaps",
         {entry(track(1, "MODE1", 100, 150, "MODE1")), entry(track(2, "AUDIO", 40, 75, "AUDIO", 10)),
          entry(track(3, "AUDIO", 8))},
         {{-150, 0, 100, 0, 0}, {100, 175, 225, 175, 100}, {225, 225, 233, 225, 140}}},
        {"older_tags", {entry("TRACK:1 TYPE:MODE2_RAW SUBTYPE:NONE FRAMES:20", "CHTR"), entry("x", "CHCD")},
         {{0, 0, 20, 0, 0}}},
        {"no_tracks", {entry("TRACK:1 TYPE:AUDIO FRAMES:9", "ABCD")}, {}, "no CD track metadata"},
        {"out_of_order", {entry(track(2, "AUDIO", 10))}, {}, "track metadata out of order (track 2 after 0)"},
        {"unknown_type", {entry(track(1, "MODE3", 10))}, {}, "track metadata field TYPE has a bad value 'MODE3'"},
        {"frames_zero", {entry(track(1, "AUDIO", 0))}, {}, "track metadata field FRAMES has a bad value '0'"},
        {"frames_huge", {entry(track(1, "AUDIO", 2000000))}, {}, "track metadata field FRAMES has a bad value '2000000'"},
        {"stored_gap_longer_than_track", {entry(track(1, "AUDIO", 10, 20, "VAUDIO"))}, {},
         "track 1 stores a pregap longer than itself"},
        {"beyond_the_image", {entry(track(1, "AUDIO", 900)), entry(track(2, "AUDIO", 200))}, {},
         "track 2 lies beyond the image's frames"},
        {"missing_frames", {entry("TRACK:1 TYPE:AUDIO")}, {}, "track metadata lacks TRACK, TYPE or FRAMES"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<ChdTrack> tracks;
        std::string reason;
        const bool ok = chdLayoutTracks(c.metadata, 1000, &tracks, &reason);
        ASSERT_EQ(ok, !c.expected.empty()) << reason;
        if (!ok) {
            EXPECT_EQ(reason, c.reason);
            continue;
        }
        std::vector<Placed> placed;
        for (const ChdTrack& t : tracks) placed.push_back({t.gapStart, t.start, t.end, t.storedStart, t.imageFrame});
        EXPECT_EQ(placed, c.expected);
    }
}

TEST(ChdHunkCache, HoldsAtMostItsMemoryBoundAndEvictsTheLeastRecentlyUsed) {
    for (const auto& [hunkBytes, capacity] : {std::pair<uint32_t, int>{19584, 26}, {78336, 6}, {4u << 20, 2}, {2448, 64}}) {
        ChdHunkCache cache;
        cache.reset(hunkBytes);
        EXPECT_EQ(cache.capacity(), capacity) << hunkBytes;
        EXPECT_LE(uint64_t(capacity) * hunkBytes, std::max<uint64_t>(kChdCacheBytes, 2ull * hunkBytes));
    }
    ChdHunkCache cache;
    cache.reset(78336);  // six slots
    for (uint32_t hunk = 0; hunk < 6; ++hunk) {
        cache.claim(hunk)[0] = uint8_t(hunk);
        cache.keep(hunk);
    }
    ASSERT_NE(cache.find(0), nullptr);  // hunk 0 is now the most recent; hunk 1 the oldest
    cache.claim(6);
    cache.keep(6);
    EXPECT_EQ(cache.find(1), nullptr);
    for (const uint32_t hunk : {0u, 2u, 5u}) {
        ASSERT_NE(cache.find(hunk), nullptr) << hunk;
        EXPECT_EQ(cache.find(hunk)[0], hunk);
    }
    cache.claim(7);  // claimed but never kept: a failed decode leaves no hunk behind
    EXPECT_EQ(cache.find(7), nullptr);
}

}  // namespace
}  // namespace lumadisc
