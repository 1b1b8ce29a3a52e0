// Rules of the emulated controller that the host simulator cannot single out: location roll-over,
// DMA word counts, save-state acceptance, the GetID region and the disc services' text rules.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "controller/controller_state.h"
#include "controller/disc_services.h"
#include "controller/licence_region.h"
#include "controller/save_state.h"
#include "controller/sector_delivery.h"

namespace lumadisc {
namespace {

TEST(ControllerRules, LocationAdvancesOneFrameWithCarries) {
    struct Case { uint8_t from[3]; uint8_t to[3]; };
    const Case cases[] = {{{0, 2, 0}, {0, 2, 1}},   {{0, 2, 74}, {0, 3, 0}}, {{0, 59, 74}, {1, 0, 0}},
                          {{79, 59, 74}, {80, 0, 0}}, {{0, 0, 73}, {0, 0, 74}}};
    for (const Case& c : cases) {
        uint8_t at[3] = {c.from[0], c.from[1], c.from[2]};
        advanceLocation(at);
        EXPECT_EQ(std::vector<uint8_t>(at, at + 3), std::vector<uint8_t>(c.to, c.to + 3))
            << int(c.from[0]) << ":" << int(c.from[1]) << ":" << int(c.from[2]);
    }
}

TEST(ControllerRules, DmaWordCountIsCountTimesSizeOrTheSize) {
    const std::pair<uint32_t, uint64_t> cases[] = {
        {0x00000200, 512}, {0x00010200, 512}, {0x00020010, 32}, {0x00000249, 585},
        {0x00050000, 0},   {0xFFFFFFFF, 0xFFFFull * 0xFFFFull}};
    for (auto [blockControl, words] : cases) EXPECT_EQ(dmaWordCount(blockControl), words) << blockControl;
}

// A record of the current state with one image field overwritten (or the size/version words).
std::vector<uint8_t> recordWith(size_t offset, uint32_t value, size_t width = 4) {
    void* raw = nullptr;
    stateSave(&raw);
    std::vector<uint8_t> record(static_cast<uint8_t*>(raw), static_cast<uint8_t*>(raw) + sizeof(StateRecord));
    std::free(raw);
    std::memcpy(record.data() + offset, &value, width);
    return record;
}

TEST(ControllerRules, LoadStateRefusesImpossibleRecordsAndChangesNothing) {
    std::memset(&g_controller, 0, sizeof g_controller);
    g_controller.sectorStart = halfOffset(1);
    g_controller.dataPointer = halfOffset(1) + 100;
    g_controller.bufferToggle = 1;
    g_controller.sectorBuffer[1][100] = 0x5A;
    const size_t image = offsetof(StateRecord, controller);
    const size_t start = image + offsetof(ControllerState, sectorStart);
    const size_t offset = image + offsetof(ControllerState, dataOffset);
    const size_t toggle = image + offsetof(ControllerState, bufferToggle);
    struct Case { const char* what; size_t at; uint32_t value; size_t width; };
    const Case bad[] = {
        {"version 2", offsetof(StateRecord, version), 2, 4},
        {"short size", offsetof(StateRecord, size), LUMADISC_STATE_RECORD_SIZE - 4, 4},
        {"start inside a half", start, halfOffset(0) + 1, 4},
        {"start past the block", start, 0xFFFFFF00u, 4},
        {"offset past the half", offset, kHalfDataSize + 1, 4},
        {"offset wrapping below", offset, 0xFFFFFFFFu, 4},
        {"toggle 2", toggle, 2, 1},
    };
    for (const Case& c : bad) {
        const std::vector<uint8_t> record = recordWith(c.at, c.value, c.width);
        g_controller.readMode = 7;  // differs from the record: a load would overwrite it
        const std::vector<uint8_t> before(controllerBytes(), controllerBytes() + sizeof g_controller);
        EXPECT_FALSE(stateRecordAcceptable(record.data())) << c.what;
        stateLoad(record.data());
        EXPECT_EQ(0, std::memcmp(before.data(), controllerBytes(), before.size())) << c.what;
        g_controller.readMode = 0;
    }
    // No sector yet: only offset 0 goes with start 0.
    g_controller.sectorStart = 0;
    g_controller.dataPointer = 0;
    EXPECT_TRUE(stateRecordAcceptable(recordWith(offset, 0).data()));
    EXPECT_FALSE(stateRecordAcceptable(recordWith(offset, 12).data()));

    // The last byte position of a half is allowed and restores the pointer there.
    g_controller.sectorStart = halfOffset(1);
    const std::vector<uint8_t> edge = recordWith(offset, kHalfDataSize);
    stateLoad(edge.data());
    EXPECT_EQ(g_controller.dataPointer, halfOffset(1) + kHalfDataSize);
    EXPECT_EQ(dataBytesLeft(), 0u);
}

TEST(ControllerRules, RegionComesFromTheLicenceWords) {
    const std::pair<std::string, std::string> cases[] = {
        {"   licence text for America ", "SCEA"},
        {"licence text for Europe", "SCEE"},
        {"licence text, Inc.", "SCEI"},
        {"made in Japan", "SCEI"},
        {"no region here", "SCEA"},
        {"", "SCEA"},
        {"europe in lower case", "SCEA"},
    };
    for (const auto& [text, id] : cases) {
        std::vector<uint8_t> sector(2340, 0);
        std::memcpy(sector.data() + 500, text.data(), text.size());
        EXPECT_EQ(regionIdFromLicence(sector.data(), sector.size()), id) << text;
    }
}

TEST(ControllerRules, SystemTypeAndExecutableDigest) {
    const std::pair<const char*, long> names[] = {{"NO_CD", 0},        {"cdrom:\\SLES_012.34;1", 1},
                                                  {"xSCED", 1},        {"SCUS_944.55", 0},
                                                  {"sles_012.34", 0},  {nullptr, 0}};
    for (auto [name, type] : names) EXPECT_EQ(systemTypeOfName(name), type) << (name ? name : "null");

    char text[33];
    executableDigestText(nullptr, text);
    EXPECT_STREQ(text, std::string(32, '0').c_str());
    std::vector<uint8_t> image(2051, 0);
    executableDigestText(image.data(), text);  // text size 0: the header alone
    EXPECT_STREQ(text, "c99a74c555371a433d121f551d6c6398");
    image[28] = 3;
    std::memcpy(image.data() + 2048, "abc", 3);
    executableDigestText(image.data(), text);
    EXPECT_STREQ(text, "fb2cfbc69d5b79527afff7d07761e263");
}

}  // namespace
}  // namespace lumadisc
