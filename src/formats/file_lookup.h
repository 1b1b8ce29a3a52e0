// Finding the files a disc description names, the way players' image sets are laid out: the name as
// written (relative to the description's directory), then with different letter case, then the bare
// file name beside the description (names written with another system's directories).
#pragma once

#include <string>

namespace lumadisc {

// The path of the regular file `name` (separators '/' or '\'), or an empty string when none is found.
std::string findNamedFile(const std::string& descriptionPath, const std::string& name);
// The description's directory joined with name as written (for messages).
std::string namedFilePath(const std::string& descriptionPath, const std::string& name);

}  // namespace lumadisc
