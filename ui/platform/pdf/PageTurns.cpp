#include "ui/platform/pdf/PageTurns.h"

#include <charconv>
#include <string>

#include "pdf/LxSintaxis.h"

namespace Lx::Pdf {

PageTurns::PageTurns(std::string_view content) {
    LxPdf::Fallo failure;
    document_ = LxPdf::Documento::Abrir(LxPdf::AbrirMemoria(content), failure);
}

int32_t PageTurns::Of(size_t page) const {
    constexpr int kMaxDepth = 64;
    LxPdf::Ref node = document_->Paginas()[page];
    std::string dict;
    for (int depth = 0; depth < kMaxDepth && document_->DictDe(node, dict); ++depth) {
        const std::string value = document_->Resolver(LxPdf::UltimoValor(dict, "Rotate"));
        int degrees = 0;
        if (!value.empty()) {
            const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), degrees);
            if (error != std::errc() || degrees % 90 != 0) return 0;
            return (degrees / 90 % 4 + 4) % 4;
        }
        if (!document_->RefDe(dict, "Parent", node)) break;
    }
    return 0;
}

}  // namespace Lx::Pdf
