// Text TOC files as cdrdao writes them (CD_DA / CD_ROM / CD_ROM_XA, TRACK with its mode, DATAFILE,
// FILE/AUDIOFILE, SILENCE, ZERO, START, PREGAP, INDEX; CD-TEXT blocks read past), laid out as an
// extent table. They share the ".toc" extension with the binary full-TOC files, and are told apart
// from them by their first word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "disc/extent_table.h"
#include "formats/extent_disc.h"

namespace lumadisc {

// True when the bytes open (after blanks and // comments) with a word only a text TOC starts with.
bool looksLikeTextToc(const uint8_t* head, size_t size);
// The same for the file at path (its first bytes).
bool isTextTocFile(const char* path);

// Parses TOC text and lays it out; files are looked up beside tocPath. Returns an empty string or
// the reason the text is refused. `missingPath` receives the file that could not be found, if that
// was the reason.
std::string textTocLayout(const std::string& text, const std::string& tocPath, ExtentTable& table,
                          std::string* missingPath);

// Describes the text TOC at path and its files; 0, or -1 after the log line naming the reason.
int describeTextToc(const char* path, DiscDescription& disc);

}  // namespace lumadisc
