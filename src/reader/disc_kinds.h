// The one list of disc kinds: how a disc path selects its kind (extension, and the content where two
// kinds share one), the name a person reads, the kind's DiscType, and how it is opened. The reader
// front, the tool and the settings program all read this list; a new kind is one row here and the
// parser that describes its images as extents.
#pragma once

#include <span>

#include "disc/disc_model.h"
#include "disc/reader_interfaces.h"
#include "formats/extent_disc.h"

namespace lumadisc {

struct DiscKind {
    DiscType type;
    const char* name;        // as a person reads it: "CUE sheet", "CloneCD", ...
    const char* extensions;  // the path endings that select it, ";"-separated, lower case; null: see below
    // Where two kinds share an extension, whether the file at path is of this kind (null: it is).
    bool (*accepts)(const char* path);
    // Kinds described as extents; null for the kinds with readers of their own below.
    DescribeDisc describe;
    CCdVirtualToc* toc;
    CCdVirtualData* data;
    CCdVirtualSub* sub;
    const char* filterPatterns;  // for a file chooser, ";"-separated ("*.cue;*.CUE"); null: not a file
};

// Every kind, in the order they are tried.
std::span<const DiscKind> discKinds();
// The kind a disc path selects: the empty disc by its name, a drive by a path without a dot, the
// others by extension (and content); null when none does.
const DiscKind* discKindOf(const char* path);
// Its DiscType (kDiscUnknown when no kind takes the path).
DiscType discTypeOfPath(const char* path);

}  // namespace lumadisc
