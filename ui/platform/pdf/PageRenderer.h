// A document as poppler reads and draws it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "ayudante/LxProtocolo.h"

namespace poppler {
class document;
}

namespace Lx::Pdf {

using Ayudante::Estado;

class PageRenderer {
  public:
    PageRenderer();
    ~PageRenderer();
    PageRenderer(const PageRenderer&) = delete;
    PageRenderer& operator=(const PageRenderer&) = delete;

    // The descriptor is only read.
    [[nodiscard]] Estado Open(int fd);
    [[nodiscard]] int PageCount() const;
    // Writes the pixels at the start of `target`.
    [[nodiscard]] Estado Draw(int page, int width, int target, int& height) const;

  private:
    std::string stamped_;  // the bytes that poppler reads, where they aren't the file's own
    std::unique_ptr<poppler::document> document_;
};

}  // namespace Lx::Pdf
