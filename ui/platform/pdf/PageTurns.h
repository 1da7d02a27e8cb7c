// How the pages of a document are turned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "pdf/LxDocumento.h"

namespace Lx::Pdf {

class PageTurns {
  public:
    // `content` outlives this.
    explicit PageTurns(std::string_view content);

    // Pages that are known; none of a document that isn't read by our own reader.
    [[nodiscard]] size_t Count() const { return document_ ? document_->Paginas().size() : 0; }
    // Quarter turns, clockwise, 0 to 3 (ISO 32000-1, table 30).
    [[nodiscard]] int32_t Of(size_t page) const;

  private:
    std::unique_ptr<LxPdf::Documento> document_;
};

}  // namespace Lx::Pdf
