#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "cli/Json.h"
#include "cli/Ordenes.h"
#include "cli/Progreso.h"
#include "cli/Respuestas.h"
#include "cli/Senales.h"
#include "cli/TextoTerminal.h"
#include "crypto/LxExplicar.h"

namespace Cli {

namespace {

using Lx::Aviso;
using Lx::Motivo;
using Lx::Firma::Encargo;
using Lx::Firma::Firmados;
using Lx::Firma::Hecho;
using Hechos = std::vector<Hecho>;

// --- Before anything is asked of a person

[[nodiscard]] Hechos Preparar(const Argumentos& a) {
    Encargo encargo;
    encargo.salida = a.salida.value_or("");
    encargo.reemplazar = a.forzar;
    Hechos hechos;
    for (const std::string& ruta : a.documentos) {
        Hecho& h = hechos.emplace_back();
        h.entrada = ruta;
        const Aviso fallo = Planear(ruta, encargo);
        h.r.motivo = fallo.motivo;
        h.r.error = fallo.frase;
    }
    return hechos;
}

[[nodiscard]] bool Pendiente(const Hecho& h) {
    return h.r.motivo == Motivo::Ninguno;
}

[[nodiscard]] Aviso CarpetaUtil(const std::string& ruta) {
    struct stat st {};
    const int numero = stat(ruta.c_str(), &st) == 0 ? 0 : errno;
    if (numero == 0 && S_ISDIR(st.st_mode)) return {};
    return {Motivo::SalidaImposible, "--directorio " + ruta + ": " +
                                         (numero != 0 ? Lx::Api::ExplicarErrno(numero) : "no es una carpeta") +
                                         "; indica una carpeta que ya exista."};
}

// --- What is said of a document

void Contar(const Hecho& h) {
    if (!h.r.aviso.empty()) Decir("Aviso: " + h.entrada + ": " + h.r.aviso);
    if (h.r.firmado) {
        Decir("Firmado: " + h.r.salida + "  (" + std::to_string(h.r.bytes) + " bytes)" +
              (h.r.nota.empty() ? "" : "  [" + h.r.nota + "]"));
        return;
    }
    Decir("No firmado: " + h.entrada + ": " + h.r.error);
    Aconsejar(h.r.motivo);
}

[[nodiscard]] std::string JsonDe(const std::vector<Aviso>& avisos) {
    std::vector<std::string> lista;
    lista.reserve(avisos.size());
    for (const Aviso& a : avisos)
        lista.push_back(Json::Objeto().PonerTexto("motivo", NombreDe(a.motivo)).PonerTexto("frase", a.frase).Cerrar());
    return Json::Lista(lista);
}

[[nodiscard]] std::string JsonDe(const Hechos& hechos) {
    std::vector<std::string> lista;
    for (const Hecho& h : hechos) {
        Json::Objeto o;
        o.PonerTexto("entrada", h.entrada).PonerTexto("salida", h.r.firmado ? h.r.salida : "");
        o.PonerLogico("firmado", h.r.firmado).PonerNumero("bytes", h.r.firmado ? h.r.bytes : 0);
        o.PonerTexto("nota", h.r.nota).PonerTexto("aviso", h.r.aviso).PonerTexto("error", h.r.error);
        o.PonerTexto("motivo", NombreDe(h.r.motivo)).Poner("avisos", std::string_view(JsonDe(h.r.avisos)));
        lista.push_back(o.Cerrar());
    }
    return Json::Objeto().PonerNumero("version", 1).Poner("documentos", std::string_view(Json::Lista(lista))).Cerrar() +
           "\n";
}

[[nodiscard]] int Responder(const Argumentos& a, const Hechos& hechos, int estado) {
    const bool escrito = !a.json || EscribirSalida(JsonDe(hechos));
    AcabarPorSenal();
    return escrito ? estado : kAlgoFallo;
}

[[nodiscard]] int FallanTodos(const Argumentos& a, Hechos& hechos, const Aviso& fallo, int estado) {
    DecirError(fallo.frase);
    Aconsejar(fallo.motivo);
    for (Hecho& h : hechos) {
        if (!Pendiente(h)) continue;
        h.r.motivo = fallo.motivo;
        h.r.error = fallo.frase;
    }
    return Responder(a, hechos, estado);
}

}  // namespace

std::string JsonDeFalloFirmar(const Argumentos& a, const std::string& error) {
    Hechos hechos;
    for (const std::string& ruta : a.documentos) {
        Hecho& h = hechos.emplace_back();
        h.entrada = ruta;
        h.r.motivo = Motivo::MalUso;
        h.r.error = error;
    }
    return JsonDe(hechos);
}

int OrdenFirmar(const Argumentos& a) {
    Hechos hechos = Preparar(a);
    if (std::none_of(hechos.begin(), hechos.end(), Pendiente)) {
        for (const Hecho& h : hechos) Contar(h);
        return Responder(a, hechos, kAlgoFallo);
    }
    if (a.directorio)
        if (const Aviso fallo = CarpetaUtil(*a.directorio)) return FallanTodos(a, hechos, fallo, kMalUso);
    Identidad identidad;
    AbrirIdentidad(a, identidad);
    if (identidad.fallo) return FallanTodos(a, hechos, identidad.fallo, kSinCertificado);

    Progreso progreso(hechos.size());
    bool empezado = false;
    const auto alEmpezar = [&](size_t cual) {
        if (!empezado) Decir("Firmando con " + Lx::Firma::NombreDe(identidad.elegida.cert) + " ...");
        empezado = true;
        progreso.Mostrar(cual, a.documentos[cual]);
    };
    const auto alAcabar = [&](size_t, const Hecho& h) {
        if (progreso.Activo() && h.r.firmado && h.r.aviso.empty()) return;
        progreso.Quitar();
        Contar(h);
    };
    Lx::Firma::FirmarDocumentos trabajo(EncargoDe(a, identidad), PreguntasDe(a), {alEmpezar, alAcabar});
    Correr(trabajo);
    progreso.Quitar();
    const Firmados& firmados = trabajo.Respuesta();
    if (firmados.fallo) {
        hechos = firmados.documentos;
        return FallanTodos(a, hechos, firmados.fallo, kSinCertificado);
    }
    DecirIntentos(firmados);
    const auto cuantos = std::count_if(firmados.documentos.begin(), firmados.documentos.end(),
                                       [](const Hecho& h) { return h.r.firmado; });
    const auto total = static_cast<std::ptrdiff_t>(hechos.size());
    if (total > 1) Decir("Firmados " + std::to_string(cuantos) + " de " + std::to_string(total) + " documentos.");
    return Responder(a, firmados.documentos, cuantos == total ? kBien : kAlgoFallo);
}

}  // namespace Cli
