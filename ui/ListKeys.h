// The keys that move through a list, wherever one is.
#pragma once

#include <optional>

#include "ui/LxTypes.h"

namespace Lx {

// The item, 0 to count - 1, that `key` leads to from item `from` (-1: none); `page` items are seen at a time. Nothing
// for any other key, nor from an empty list.
[[nodiscard]] std::optional<int> ItemByKey(KeyCode key, int from, int page, int count);

}  // namespace Lx
