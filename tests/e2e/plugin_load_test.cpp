// The built library as a host first meets it: its identification exports and the interface symbols.
#include <gtest/gtest.h>

#include "host/plugin_loader.h"

namespace {

TEST(PluginLoad, IdentifiesItselfAsACdromPlugin) {
    lumadisc::host::PluginLoader loader;
    ASSERT_TRUE(loader.load(LUMADISC_PLUGIN_PATH)) << loader.error();
    EXPECT_EQ(loader.classic().getLibType(), 1u);
    EXPECT_STREQ(loader.classic().getLibName(), "lumaDisc");
    EXPECT_EQ(loader.classic().getLibVersion(), 0x10115u);
}

}  // namespace
