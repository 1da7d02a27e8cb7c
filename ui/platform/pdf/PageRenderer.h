// A document as poppler reads and draws it.
#pragma once

#include <cairo.h>
#include <poppler.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ayudante/LxProtocolo.h"
#include "ui/LxPages.h"
#include "ui/platform/pdf/PageTurns.h"

namespace Lx::Pdf {

using Ayudante::Estado;

// Of what glib counts references.
struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
struct CairoRelease {
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using SheetRef = std::unique_ptr<PopplerPage, Unref>;
using SurfaceRef = std::unique_ptr<cairo_surface_t, CairoRelease>;
using CairoRef = std::unique_ptr<cairo_t, CairoRelease>;

class PageRenderer {
  public:
    PageRenderer() = default;
    PageRenderer(const PageRenderer&) = delete;
    PageRenderer& operator=(const PageRenderer&) = delete;

    // The descriptor is only read. The passwords are tried in their order; none is no try but the one without.
    [[nodiscard]] Estado Open(int fd, const std::vector<std::string>& passwords);
    // Fit for Ayudante::Respuesta.
    [[nodiscard]] uint32_t Flags() const;
    [[nodiscard]] int PageCount() const;
    [[nodiscard]] PopplerDocument* Document() const { return document_.get(); }
    [[nodiscard]] SheetRef Sheet(int page) const;
    // Of the page as it is seen. False when it has none.
    [[nodiscard]] static bool Measure(PopplerPage* sheet, PageSize& size);

    // Quarter turns, clockwise, that the document gives the page; negative where that can't be told.
    [[nodiscard]] int32_t TurnOf(int page) const;

    // Draws the part that is asked for into `target`; `rows` are how many there are. Where no height was asked for,
    // the part goes to the end of the page, as far as there is room.
    [[nodiscard]] Estado Draw(const Ayudante::Peticion& request, unsigned char* target, int32_t& rows);

  private:
    // A page as cairo plays it again in parts, without poppler reading its content anew.
    struct Recording {
        int32_t page = -1, total = 0, turn = 0;
        bool forPrint = false;
        SurfaceRef surface;
    };

    [[nodiscard]] bool Paint(const Ayudante::Peticion& request, const PageSize& size, PopplerPage* sheet,
                             cairo_surface_t* target);
    [[nodiscard]] bool Record(const Ayudante::Peticion& request, const PageSize& size, PopplerPage* sheet);
    [[nodiscard]] Estado Load(std::string_view content, const char* password);

    bool isEncrypted_ = false;
    std::string stamped_;  // the bytes that poppler reads, where they aren't the file's own
    std::string_view content_;
    std::unique_ptr<PopplerDocument, Unref> document_;
    mutable std::unique_ptr<PageTurns> turns_;  // once they are asked for
    Recording recording_;
};

}  // namespace Lx::Pdf
