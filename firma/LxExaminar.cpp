#include "firma/LxExaminar.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "firma/LxFirmar.h"
#include "signer/LxExamen.h"
#include "signer/LxListaPaginas.h"

namespace Lx::Firma {

namespace {

// What is said of a document that is being looked at, where the engine's sentence is for its files.
constexpr struct {
    Motivo motivo;
    std::string_view frase;
} kAlAbrir[] = {
    {Motivo::Cifrado, "El documento está protegido contra cambios."},
    {Motivo::SinPaginas, "El documento no tiene ninguna página."},
    {Motivo::NoEsPdf, "El documento no es un PDF, o le falta el final."},
};

// "No se puede firmar": why, and what to do.
[[nodiscard]] Aviso ParaLaPersona(const Aviso& fallo) {
    if (!fallo) return {};
    const auto* fila =
        std::find_if(std::begin(kAlAbrir), std::end(kAlAbrir), [&](const auto& f) { return f.motivo == fallo.motivo; });
    const std::string frase = fila == std::end(kAlAbrir) ? fallo.frase : std::string(fila->frase);
    return {fallo.motivo, "No se puede firmar. " + ParaLeer({fallo.motivo, frase})};
}

[[nodiscard]] std::string Paginas(size_t n) {
    return std::to_string(n) + (n == 1 ? " página" : " páginas");
}

[[nodiscard]] std::string FraseDe(const LxPdfSigner::ListaRevisada& lista, int32_t total) {
    using Defecto = LxPdfSigner::ListaRevisada::Defecto;
    constexpr size_t kLargo = 20;
    const std::string trozo =
        "\"" + (lista.trozo.size() > kLargo ? lista.trozo.substr(0, kLargo) + "…" : lista.trozo) + "\"";
    switch (lista.defecto) {
        case Defecto::Vacia:
            return "Escribe las páginas del sello, por ejemplo: 1, 3, 5-8";
        case Defecto::Forma:
            return trozo + " no es una página. Escribe números y tramos, por ejemplo: 1, 3, 5-8";
        case Defecto::AlReves:
            return trozo + " va al revés: escribe primero la página menor, por ejemplo: 5-8";
        case Defecto::NoExiste:
            return "La página " + trozo.substr(1, trozo.size() - 2) + " no existe" +
                   (total < 1 ? std::string(".") : ": el documento tiene " + Paginas(static_cast<size_t>(total)) + ".");
        case Defecto::Ninguno:
            break;
    }
    return std::to_string(lista.cuantas) + (lista.cuantas == 1 ? " pagina" : " paginas");
}

}  // namespace

void Examinar::Hacer() {
    respuesta_ = {};
    if (Aviso fallo = Planear(ruta_, {})) {
        respuesta_.impedimento = ParaLaPersona(fallo);
        return;
    }
    try {
        LxPdfSigner::Examinado e = LxPdfSigner::Examinar(ruta_, control);
        respuesta_.impedimento = ParaLaPersona(e.impedimento);
        respuesta_.avisos = std::move(e.avisos);
        respuesta_.paginas = e.paginas;
        for (LxPdfSigner::FirmaHallada& f : e.firmas)
            respuesta_.firmas.push_back({std::move(f.nombre), std::move(f.momento), f.pagina, f.sello});
    } catch (const std::bad_alloc&) {
        respuesta_ = {};
        respuesta_.impedimento =
            ParaLaPersona({Motivo::SinMemoria, "no hay memoria suficiente para leer " + ruta_ + "."});
    }
}

ListaPaginas LeerLista(const std::string& texto, int32_t total) {
    const LxPdfSigner::ListaRevisada lista = LxPdfSigner::RevisarLista(texto, static_cast<size_t>(std::max(total, 0)));
    return {static_cast<int32_t>(lista.cuantas), FraseDe(lista, total)};
}

}  // namespace Lx::Firma
