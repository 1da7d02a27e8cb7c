// A document whose pages another process draws. One page is being drawn at a time; the last one drawn waits here until
// it is taken.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "ui/LxPdf.h"
#include "ui/platform/pdf/Ayudante.h"

namespace Lx::Pdf {

class Documento : public IDocument {
  public:
    using Reloj = std::chrono::steady_clock;
    // What opening or drawing a page may take.
    static constexpr std::chrono::milliseconds kPlazo{20'000};

    // Null with the sentence in `error`.
    [[nodiscard]] static std::unique_ptr<Documento> Abrir(const std::string& ruta, std::string& error,
                                                          std::chrono::milliseconds plazo = kPlazo);

    [[nodiscard]] int GetPageCount() const override { return paginas_; }
    [[nodiscard]] bool RenderPage(int page, int width, Raster& out, std::string& error) override;
    [[nodiscard]] bool WaitForPage(int page, int width, int ms) override;
    void RenderAhead(int page, int width) override;

  private:
    struct Hoja {
        int pagina = 0;
        int ancho = 0;
        bool operator==(const Hoja&) const = default;
    };
    struct Hecha {
        Hoja hoja;
        std::string error;  // empty: the raster holds it
        Raster raster;
    };

    Documento(Descriptor contenido, Descriptor pixeles, std::chrono::milliseconds plazo);

    [[nodiscard]] bool EsperarApertura(std::string& error);
    void Pedir(const Hoja& hoja);
    void Abandonar();
    void Atender(std::chrono::milliseconds espera);
    void Recibir(const Respuesta& respuesta);
    void Fallar(std::string frase);
    void FallarPorMuerte();
    [[nodiscard]] bool Copiar(const Respuesta& respuesta, Raster& raster) const;
    [[nodiscard]] bool Estorba(const Hoja& hoja, Reloj::time_point ahora) const;
    [[nodiscard]] bool Admite(int pagina, int ancho, std::string& error) const;

    Descriptor contenido_, pixeles_;
    std::chrono::milliseconds plazo_, apertura_{0};
    int paginas_ = 0;
    std::unique_ptr<Ayudante> ayudante_;
    bool abriendo_ = false;  // the process hasn't said yet that the document is open
    uint32_t numero_ = 0;
    Reloj::time_point desde_;  // when the opening or the page that is being drawn began
    std::optional<Hoja> enCurso_;
    std::optional<Hecha> hecha_;
};

}  // namespace Lx::Pdf
