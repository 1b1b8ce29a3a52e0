// Track layouts the description fuzz targets start from.
#pragma once

#include <vector>

#include "tools/fixtures/image_builder.h"

namespace lumadisc::fuzz {

inline std::vector<fixtures::TrackLayout> seedLayouts() {
    fixtures::ImageBuilder single;
    single.addDataTrack(300);
    fixtures::ImageBuilder mixed;
    mixed.addDataTrack(300).addAudioTrack(200, {}, 150).addAudioTrack(100);
    fixtures::ImageBuilder audioFirst;
    audioFirst.addAudioTrack(20).addDataTrack(30);
    fixtures::ImageBuilder many;
    many.addDataTrack(4600);
    for (int i = 0; i < 98; ++i) many.addAudioTrack(40 + i, {}, i % 2 ? 75 : 0);
    return {single.layout(), mixed.layout(), audioFirst.layout(), many.layout()};
}

}  // namespace lumadisc::fuzz
