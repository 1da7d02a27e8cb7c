#include "ui/platform/pdf/Dibujo.h"

#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-image.h>
#include <poppler/cpp/poppler-page-renderer.h>
#include <poppler/cpp/poppler-page.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

#include "ui/platform/pdf/Sellos.h"

namespace Lx::Pdf {
namespace {

// Size of the page as it is seen, in points.
bool Medir(const poppler::page& pagina, double& ancho, double& alto) {
    const poppler::rectf caja = pagina.page_rect(poppler::crop_box);
    const auto orientacion = pagina.orientation();
    const bool tumbada = orientacion == poppler::page::landscape || orientacion == poppler::page::seascape;
    ancho = tumbada ? caja.height() : caja.width();
    alto = tumbada ? caja.width() : caja.height();
    return std::isfinite(ancho) && std::isfinite(alto) && ancho > 0 && alto > 0;
}

// From words 0xAARRGGBB in the machine's order, with rows of any length, to bytes R, G, B, A without gaps. False when a
// pixel isn't opaque: on white paper every one is, unless poppler drew nothing.
bool Convertir(const poppler::image& imagen, char* destino) {
    const int ancho = imagen.width();
    uint32_t opacos = 0xFF000000;
    for (int y = 0; y < imagen.height(); ++y) {
        const char* origen = imagen.const_data() + static_cast<size_t>(y) * static_cast<size_t>(imagen.bytes_per_row());
        for (int x = 0; x < ancho; ++x, origen += 4, destino += 4) {
            uint32_t pixel;
            std::memcpy(&pixel, origen, 4);
            opacos &= pixel;
            pixel = (pixel & 0xFF00FF00) | ((pixel >> 16) & 0xFF) | ((pixel & 0xFF) << 16);
            std::memcpy(destino, &pixel, 4);
        }
    }
    return opacos == 0xFF000000;
}

// Where the window looks for the pixels.
Estado Entregar(const poppler::image& imagen, int destino) {
    const size_t bytes = static_cast<size_t>(imagen.width()) * static_cast<size_t>(imagen.height()) * 4;
    void* const vista = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, destino, 0);
    if (vista == MAP_FAILED) return Estado::SinMemoria;
    const bool bien = Convertir(imagen, static_cast<char*>(vista));
    munmap(vista, bytes);
    return bien ? Estado::Bien : Estado::SinDibujar;
}

void Callar(const std::string&, void*) {}

}  // namespace

Dibujo::Dibujo() {
    poppler::set_debug_error_function(Callar, nullptr);
}
Dibujo::~Dibujo() = default;

Estado Dibujo::Abrir(int fd) {
    struct stat datos {};
    if (fstat(fd, &datos) != 0 || datos.st_size < 1 || datos.st_size > INT_MAX) return Estado::Danado;
    const auto cuantos = static_cast<size_t>(datos.st_size);
    // Never unmapped: poppler reads from it as long as the process lives.
    void* const vista = mmap(nullptr, cuantos, PROT_READ, MAP_PRIVATE, fd, 0);
    if (vista == MAP_FAILED) return Estado::SinMemoria;
    const std::string_view original(static_cast<const char*>(vista), cuantos);
    if (const std::string sellos = SellosConservados(original); !sellos.empty()) {
        if (cuantos + sellos.size() > INT_MAX) return Estado::SinMemoria;
        conSellos_.reserve(cuantos + sellos.size());
        conSellos_.append(original).append(sellos);
    }
    const std::string_view contenido = conSellos_.empty() ? original : conSellos_;
    documento_.reset(poppler::document::load_from_raw_data(contenido.data(), static_cast<int>(contenido.size())));
    if (!documento_) return Estado::Danado;
    if (documento_->is_locked()) return Estado::Protegido;
    return documento_->pages() > 0 ? Estado::Bien : Estado::Danado;
}

int Dibujo::Paginas() const {
    return documento_->pages();
}

Estado Dibujo::Dibujar(int pagina, int ancho, int destino, int& alto) const {
    const std::unique_ptr<poppler::page> hoja(documento_->create_page(pagina));
    double puntosAncho = 0, puntosAlto = 0;
    if (!hoja) return Estado::SinDibujar;
    if (!Medir(*hoja, puntosAncho, puntosAlto) || ancho < 1) return Estado::TamanoInvalido;
    const double altoExacto = puntosAlto * ancho / puntosAncho;
    if (altoExacto * ancho > static_cast<double>(kMaxPixeles)) return Estado::SinMemoria;
    alto = std::max(1, static_cast<int>(std::lround(altoExacto)));

    poppler::page_renderer pintor;
    pintor.set_image_format(poppler::image::format_argb32);
    pintor.set_render_hint(poppler::page_renderer::antialiasing, true);
    pintor.set_render_hint(poppler::page_renderer::text_antialiasing, true);
    const poppler::image imagen =
        pintor.render_page(hoja.get(), 72.0 * ancho / puntosAncho, 72.0 * alto / puntosAlto, 0, 0, ancho, alto);
    if (!imagen.is_valid() || imagen.format() != poppler::image::format_argb32 || imagen.width() != ancho ||
        imagen.height() != alto || imagen.bytes_per_row() / 4 < ancho)
        return Estado::SinDibujar;
    return Entregar(imagen, destino);
}

}  // namespace Lx::Pdf
