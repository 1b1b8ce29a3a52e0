// lumadisc ls as a user runs it: the listing matches the file system that was written (subdirectories
// included) on every kind of disc, and discs without a readable volume end in a clear error, never a hang.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "tests/e2e/tool_runner.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/demo_disc.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/psx_exe.h"

namespace lumadisc::e2e {
namespace {

using fixtures::IsoBlock;
using Listing = std::map<std::string, std::vector<unsigned>>;  // path: is-directory, extent, size

Listing parseListing(const std::string& out) {
    Listing listing;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        char type[8], path[512];
        unsigned extent, size;
        if (std::sscanf(line.c_str(), "%7s %u %u %511s", type, &extent, &size, path) == 4)
            listing[path] = {std::strcmp(type, "dir") == 0 ? 1u : 0u, extent, size};
    }
    return listing;
}

class ToolLs : public ::testing::Test {
protected:
    // A CUE image whose data track holds the blocks as Mode 2 Form 1 sectors.
    std::string cueOf(const std::vector<IsoBlock>& blocks, const std::string& name) {
        fixtures::CueImageBuilder builder;
        builder.addDataTrack(static_cast<int32_t>(blocks.size()), [&blocks](Lba lba, int32_t, fixtures::Sector& s) {
            s = fixtures::form1Sector(lba, blocks[static_cast<size_t>(lba)]);
        });
        EXPECT_TRUE(builder.write(scratch_.path(), name, nullptr, nullptr));
        return scratch_.file(name + ".cue");
    }
    host::ScratchDir scratch_{"lumadisc-ls"};
};

TEST_F(ToolLs, ListsTheDemoDiscAndTheExecutableDisc) {
    ASSERT_TRUE(fixtures::writeDemoDisc(scratch_.path(), nullptr));
    ASSERT_TRUE(fixtures::writeBytes(scratch_.file("demo.exe"), fixtures::buildExecutable(), nullptr));
    Listing demo = {{"/", {1, 22, 2048}}};
    for (const auto& file : fixtures::buildDemoIso().files)
        demo["/" + file.name] = {0, static_cast<unsigned>(file.extent), file.size};
    const std::pair<std::string, Listing> cases[] = {
        {"demo.cue", demo},
        {"demo.exe", {{"/", {1, 22, 2048}}, {"/PSX.EXE;1", {0, 23, 1525760}}}},
    };
    for (const auto& [disc, expected] : cases) {
        const ToolResult run = runLumadisc(scratch_, {"ls", scratch_.file(disc)});
        ASSERT_EQ(run.exitCode, 0) << describeRun(run);
        EXPECT_EQ(parseListing(run.out), expected) << run.out;
    }
}

TEST_F(ToolLs, ListsSubdirectoriesOfATreeMadeByAnotherIsoWriter) {
    const std::map<std::string, std::string> files = {
        {"A.TXT", std::string(5000, 'a')}, {"SUB/B.BIN", std::string(3000, 'b')},
        {"SUB/DEEP/C.DAT", "c"},           {"OTHER/D.TXT", std::string(2048, 'd')},
    };
    for (const auto& [path, content] : files) {
        std::filesystem::create_directories(std::filesystem::path(scratch_.file("tree/" + path)).parent_path());
        std::ofstream(scratch_.file("tree/" + path), std::ios::binary) << content;
    }
    const std::string isoPath = scratch_.file("tree.iso");
    ASSERT_EQ(std::system(("genisoimage -quiet -o " + isoPath + " " + scratch_.file("tree")).c_str()), 0);
    const std::string iso = host::readFile(isoPath);
    std::vector<IsoBlock> blocks(iso.size() / 2048);
    std::memcpy(blocks.data(), iso.data(), blocks.size() * 2048);

    const ToolResult run = runLumadisc(scratch_, {"ls", cueOf(blocks, "tree")});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    Listing listing = parseListing(run.out);
    for (const char* directory : {"/", "/SUB/", "/SUB/DEEP/", "/OTHER/"})
        EXPECT_EQ(listing[directory].at(0), 1u) << directory << "\n" << run.out;
    for (const auto& [path, content] : files) {
        const std::vector<unsigned> entry = listing["/" + path + ";1"];
        ASSERT_EQ(entry.size(), 3u) << path << "\n" << run.out;
        EXPECT_EQ(entry[2], content.size()) << path;
        const size_t at = size_t{entry[1]} * 2048;
        ASSERT_LE(at + content.size(), iso.size()) << path;
        EXPECT_EQ(std::string(iso.data() + at, content.size()), content) << "the extent of " << path;
    }
    EXPECT_EQ(listing.size(), files.size() + 4) << run.out;
}

TEST_F(ToolLs, DiscsWithoutAReadableVolumeEndInAClearError) {
    // A fixture volume with one file, damaged in one way per case; its file record follows "." and "..".
    const auto damaged = [](const std::function<void(uint8_t* descriptor, uint8_t* fileRecord)>& damage) {
        fixtures::IsoImage image = fixtures::buildIso({{"A.TXT", std::vector<uint8_t>(100, 'a')}});
        damage(image.blocks[16].data(), image.blocks[22].data() + 96);
        return image.blocks;
    };
    fixtures::CueImageBuilder audioOnly;
    ASSERT_TRUE(audioOnly.addAudioTrack(100).write(scratch_.path(), "audio", nullptr, nullptr));
    const std::pair<std::string, std::string> cases[] = {
        {"No CD (bios shell)", "has no data track (0 tracks)"},
        {scratch_.file("audio.cue"), "has no data track (1 tracks)"},
        {cueOf(std::vector<IsoBlock>(40), "blank"), "no ISO 9660 volume on the first data track"},
        {cueOf(damaged([](uint8_t*, uint8_t* r) { r[25] = 2, r[2] = 22, r[3] = 0; }), "loop"),
         "/A.TXT;1/: extent 22 is listed already, not followed"},
        {cueOf(damaged([](uint8_t*, uint8_t* r) { r[0] = 20; }), "short"),
         "/: damaged directory record at byte 96 of block 22"},
        {cueOf(damaged([](uint8_t* d, uint8_t*) { std::memset(d + 158, 0xF0, 4); }), "far"), "lies beyond the disc"},
    };
    for (const auto& [disc, message] : cases) {
        const ToolResult run = runLumadisc(scratch_, {"ls", disc});
        EXPECT_EQ(run.exitCode, 1) << disc << "\n" << describeRun(run);
        EXPECT_NE(run.err.find(message), std::string::npos) << disc << "\n" << run.err;
    }
}

}  // namespace
}  // namespace lumadisc::e2e
