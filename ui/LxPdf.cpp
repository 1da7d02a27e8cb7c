#include "ui/LxPdf.h"

namespace Lx::Pdf {

bool IDocument::SavePageJpg(int /*page*/, int /*width*/, int /*quality*/, const std::string& /*path*/,
                            std::string& error) {
    error = "Este motor no exporta JPG.";
    return false;
}

bool IDocument::WaitForPage(int /*page*/, int /*width*/, int /*ms*/) {
    return true;
}

void IDocument::RenderAhead(int /*page*/, int /*width*/) {}

}  // namespace Lx::Pdf
