#include "tests/e2e/plugin_harness.h"

#include <fstream>

namespace lumadisc::e2e {

void PluginHarness::SetUp() {
    ASSERT_TRUE(scratch_.ok());
    ASSERT_TRUE(host_.load(LUMADISC_PLUGIN_PATH)) << host_.error();
    ASSERT_TRUE(scratch_.enter());
}

void PluginHarness::TearDown() {
    closePlugin();
    host_.loader().unload();
    scratch_.leave();
}

void PluginHarness::closePlugin() {
    if (!host_.loader().loaded()) return;
    api().close();
    api().shutdown();
}

fixtures::PluginIni settingsFor(const std::string& disc, bool logging) {
    fixtures::PluginIni settings;
    settings.current = disc;
    settings.enableLogging = logging;
    return settings;
}

long PluginHarness::openWith(const fixtures::PluginIni& settings) {
    std::string error;
    EXPECT_TRUE(fixtures::writePluginIni(dir(), settings, &error)) << error;
    api().init();
    return api().open();
}

fixtures::CueImage PluginHarness::writeCue(const fixtures::CueImageBuilder& builder, const std::string& name) {
    fixtures::CueImage image;
    std::string error;
    EXPECT_TRUE(builder.write(dir(), name, &image, &error)) << error;
    return image;
}

std::string PluginHarness::log() const { return host::readFile(scratch_.file("lumaDisc.log")); }

std::vector<uint8_t> binSector(const std::string& binPath, Lba lba, int stride) {
    std::vector<uint8_t> bytes(kRawSectorSize);
    std::ifstream in(binPath, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(lba) * stride);
    in.read(reinterpret_cast<char*>(bytes.data()), kRawSectorSize);
    return bytes;
}

}  // namespace lumadisc::e2e
