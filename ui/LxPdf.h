// The PDF seam: what the page view asks of a document. A program links one implementation of Open.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Lx::Pdf {

// 8-bit RGBA, rows from the top, 4 * width bytes each.
struct Raster {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<unsigned char> pixels;
};

// One open document. Pages count from 0; errors are one Spanish sentence.
class IDocument {
  public:
    virtual ~IDocument() = default;

    [[nodiscard]] virtual int GetPageCount() const = 0;
    // The page exactly `width` pixels wide, its height in proportion, on opaque white. Blocks until it is there.
    [[nodiscard]] virtual bool RenderPage(int page, int width, Raster& out, std::string& error) = 0;
    // Base: "Este motor no exporta JPG."
    [[nodiscard]] virtual bool SavePageJpg(int page, int width, int quality, const std::string& path,
                                           std::string& error);

    // Beyond the three. Starts drawing the page unless that was done before, and waits `ms` milliseconds at most: true
    // when RenderPage would give its page, or its error, without waiting. Base: true.
    [[nodiscard]] virtual bool WaitForPage(int page, int width, int ms);
    // The page may be asked for next: to be drawn while nothing else is to do. Never waits. Base: nothing.
    virtual void RenderAhead(int page, int width);
};

// The caller owns the document. Null with the reason in `error`: "Ruta de archivo invalida." for an empty path, "No se
// pudo abrir el PDF (archivo inexistente o dañado)." for what is no PDF of a page at least, "El PDF esta protegido con
// contraseña." for one that is encrypted and locked.
[[nodiscard]] IDocument* Open(const std::string& path, std::string& error);

}  // namespace Lx::Pdf
