// Writing to open files, for all modules.
#pragma once

#include <string_view>

namespace Lx::Api {

// Writes all of `datos`, however many calls of the system it takes. False, with errno set, when some of it didn't go
// out.
[[nodiscard]] bool EscribirTodo(int fd, std::string_view datos);

}  // namespace Lx::Api
