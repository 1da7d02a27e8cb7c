// Signing documents, from the first look at them to the signed files.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "certstore/LxCertStore.h"
#include "firma/LxTrabajo.h"
#include "signer/LxPdfSigner.h"

namespace Lx::Firma {

// What is wanted.
struct Encargo {
    std::vector<std::string> documentos;
    std::optional<std::string> texto;  // instead of documents: a new one of one page that shows this line
    std::string salida;                // of the only document; empty: a name of its own beside it, or in `carpeta`
    std::string carpeta;               // empty: each document's own
    bool reemplazar = false;           // `salida` may be replaced
    CertStore::Entrada elegida;
    CertStore::Contexto ctx;
    std::vector<Lx::Motivo> aunque;        // what speaks against the certificate and was accepted
    LxPdfSigner::Metadatos meta;           // empty fields get their defaults
    int32_t modo = LxPdfSigner::kPrimera;  // of the stamp, a LxPdfSigner::Sello
    std::string paginas;
    // Pages that the person has seen the document have. Where the signer finds another number it signs nothing
    // (Motivo::PaginasDistintas): the person would sign something else. Below 1: not known.
    int32_t paginasVistas = 0;
    // Whether the document is still the one that the person has seen. Asked on the job's thread when all of it has been
    // read and before the key is used; false is Motivo::Cambiado. Empty: not known.
    std::function<bool()> esElVisto{};
};

// What became of a document. `r.motivo` is never Ninguno for one that was not signed.
struct Hecho {
    std::string entrada;
    LxPdfSigner::Resultado r;
};

struct Firmados {
    Lx::Aviso fallo;  // why none was begun; every document that nothing else was wrong with has it too
    std::vector<Hecho> documentos;
    int intentos = -1;  // what the card's PIN has left after it was refused; -1 when that is not known or no matter
};

// Called on the job's thread, and not at all when none is begun.
struct Observador {
    std::function<void(size_t cual)> alEmpezar;
    std::function<void(size_t cual, const Hecho&)> alAcabar;
};

// The name of the signed copy: `entrada` without its extension and "_firmao.pdf", with a number from 2 to 999 while the
// name is taken by whatever it is; in `carpeta` unless that is empty. Empty when all are taken.
[[nodiscard]] std::string NombreLibre(const std::string& entrada, const std::string& carpeta);

// The folder that a path lies in, whole, without a slash at its end.
[[nodiscard]] std::string CarpetaDe(const std::string& ruta);
// With ".pdf" at its end, unless it is there in any case of letters.
[[nodiscard]] std::string ConExtension(const std::string& ruta);

// Whether a signed copy of `entrada` may come into being there; an existing file only with `reemplazar`. An empty path
// is the name that NombreLibre didn't find.
[[nodiscard]] Lx::Aviso RevisarSalida(const std::string& salida, const std::string& entrada, bool reemplazar);

// What can be known of a document before anybody is asked for anything: it can be read, its output may be written.
[[nodiscard]] Lx::Aviso Planear(const std::string& entrada, const Encargo& encargo);

class Firmante;

class FirmarDocumentos : public Trabajo {
  public:
    FirmarDocumentos(Encargo encargo, Preguntas preguntas, Observador observador = {});
    ~FirmarDocumentos() override;

    // The card's PIN is asked for once, before the first document; one that the card refuses is never sent again. A
    // card or a store that fails is not asked again for the documents that are left.
    void Hacer() override;
    [[nodiscard]] const Firmados& Respuesta() const { return respuesta_; }
    // With the PIN that signed, else without one.
    [[nodiscard]] const CertStore::Contexto& Contexto() const { return encargo_.ctx; }

  private:
    [[nodiscard]] Lx::Aviso Empezar();
    void FirmarUno(Hecho& hecho);
    void FirmarDocumento(Hecho& hecho);
    [[nodiscard]] LxPdfSigner::Resultado Intentar(const Hecho& hecho, const std::string& salida);

    Encargo encargo_;
    Observador observador_;
    std::unique_ptr<Firmante> firmante_;
    Firmados respuesta_;
};

}  // namespace Lx::Firma
