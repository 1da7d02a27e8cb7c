// What velmora-pagina answers.
#pragma once

#include <vector>

#include "ui/platform/pdf/PageLinks.h"
#include "ui/platform/pdf/PageRenderer.h"
#include "ui/platform/pdf/PageText.h"

namespace Lx::Pdf {

class PageServer {
  public:
    // The memory that the window shares with this process.
    [[nodiscard]] bool MapSlots(int fd);
    // One request; `fds` came along with it.
    [[nodiscard]] Ayudante::Respuesta Answer(const Ayudante::Peticion& request, const std::vector<int>& fds);

  private:
    [[nodiscard]] bool Fits(const Ayudante::Peticion& request) const;
    [[nodiscard]] bool IsUnwanted(uint32_t number) const;
    void Read(const Ayudante::Peticion& request, unsigned char* slot, Ayudante::Respuesta& answer);
    void Open(const Ayudante::Peticion& request, const std::vector<int>& fds, Ayudante::Respuesta& answer);
    [[nodiscard]] uint32_t WriteSizes(int32_t first, int32_t count, unsigned char* slot, size_t bytes) const;

    unsigned char* slots_ = nullptr;
    size_t bytes_ = 0;
    bool isOpen_ = false;
    PageRenderer renderer_;
    TextSearch search_;
    AttachedFiles files_;
};

}  // namespace Lx::Pdf
