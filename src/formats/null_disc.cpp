#include "formats/null_disc.h"

namespace lumadisc {

CCdNullToc g_nullToc;
CCdNullData g_nullData;
CCdNullSub g_nullSub;

}  // namespace lumadisc
