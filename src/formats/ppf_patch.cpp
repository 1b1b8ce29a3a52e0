#include "formats/ppf_patch.h"

namespace lumadisc {

// Patch files are not read yet: every disc reads unpatched, as with no ".ppf" beside it.
int CCdPpfPatch::load(const char*) { return -1; }
void CCdPpfPatch::apply(Lba, uint8_t*) {}
int CCdPpfPatch::release() { return 0; }

}  // namespace lumadisc
