#include "ui/LxPages.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace Lx::Pdf {

int32_t HeightOf(const PageSize& size, int32_t turn, int32_t width) {
    const bool sideways = turn % 2 != 0;
    const double across = sideways ? size.height : size.width;
    const double along = sideways ? size.width : size.height;
    if (!(across > 0) || !(along > 0)) return 1;
    return static_cast<int32_t>(std::clamp(std::round(along * width / across), 1.0, double{INT_MAX}));
}

}  // namespace Lx::Pdf
