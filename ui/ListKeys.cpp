#include "ui/ListKeys.h"

#include <algorithm>

namespace Lx {

std::optional<int> ItemByKey(KeyCode key, int from, int page, int count) {
    int to = from;
    switch (key) {
        case KeyCode::Up:
            to = from - 1;
            break;
        case KeyCode::Down:
            to = from + 1;
            break;
        case KeyCode::Home:
            to = 0;
            break;
        case KeyCode::End:
            to = count - 1;
            break;
        case KeyCode::PageUp:
            to = from - page;
            break;
        case KeyCode::PageDown:
            to = from + page;
            break;
        default:
            return std::nullopt;
    }
    if (count < 1) return std::nullopt;
    return std::clamp(to, 0, count - 1);
}

}  // namespace Lx
