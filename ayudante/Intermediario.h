// Opens files for a helper that may not open any itself. The kernel stops each open(2) of the helper and tells us of
// it; what we open is put among the helper's descriptors. The helper looks at files (stat, access) on its own: that
// gives away which exist, and nothing of what is in them.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "crypto/LxDescriptor.h"

namespace Lx::Ayudante {

// One for each helper, with a thread of its own, which ends with the helper or with this.
class Intermediario {
  public:
    // Through `canal` the helper is told that there is somebody who opens files, and sends what the kernel tells about
    // it. Where we may not look into its memory for the names, the channel is closed without a word.
    Intermediario(Api::Descriptor canal, pid_t ayudante);
    ~Intermediario();
    Intermediario(const Intermediario&) = delete;
    Intermediario& operator=(const Intermediario&) = delete;

  private:
    Api::Descriptor fin_;  // written to, it ends the thread
    std::thread hilo_;
};

// The folders by their names, and by those that they really have where these are links.
[[nodiscard]] std::vector<std::string> CarpetasPermitidas();

// Whether an absolute path is written as one in the folders, or of one itself.
[[nodiscard]] bool EstaEn(std::string_view ruta, const std::vector<std::string>& carpetas);

// Opens for reading what lies in the folders, by its name and after all links are followed: a regular file or a folder,
// with O_DIRECTORY in `banderas` only this. An empty descriptor, with the number that errno would have, for all else.
[[nodiscard]] Api::Descriptor AbrirPermitido(const std::string& ruta, uint64_t banderas,
                                             const std::vector<std::string>& carpetas, int& error);

}  // namespace Lx::Ayudante
