#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "certstore/LxCertStore.h"
#include "cli/ClaveAlmacen.h"
#include "cli/Consejos.h"
#include "cli/Firma.h"
#include "cli/Identidad.h"
#include "cli/Json.h"
#include "cli/Ordenes.h"
#include "cli/Progreso.h"
#include "cli/Salida.h"
#include "cli/Texto.h"

namespace Cli {

namespace {

struct Documento {
    std::string entrada;
    std::string salida;
    LxPdfSigner::Resultado r;
};
using Documentos = std::vector<Documento>;

// --- Before anything is asked of a person

using Lx::Motivo;

bool Fallo(Documento& d, Motivo motivo, std::string frase) {
    d.r.motivo = motivo;
    d.r.error = std::move(frase);
    return false;
}

[[nodiscard]] bool Permitido(const std::string& destino, Documento& d, bool forzar) {
    Lx::Aviso fallo;
    return DestinoPermitido(destino, d.entrada, forzar, fallo) || Fallo(d, fallo.motivo, std::move(fallo.frase));
}

[[nodiscard]] bool SePuedeLeer(Documento& d) {
    const int fd = open(d.entrada.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0)
        return Fallo(d, Motivo::NoSeLee, "no se pudo leer " + d.entrada + ". Motivo: " + ExplicarErrno(errno) + ".");
    struct stat st {};
    const bool normal = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    close(fd);
    if (S_ISDIR(st.st_mode)) return Fallo(d, Motivo::NoSeLee, d.entrada + " es una carpeta.");
    return normal || Fallo(d, Motivo::NoSeLee, d.entrada + " no es un fichero normal.");
}

[[nodiscard]] Documentos Preparar(const Argumentos& a) {
    Documentos docs;
    for (const std::string& ruta : a.documentos) {
        Documento& d = docs.emplace_back();
        d.entrada = ruta;
        if (SePuedeLeer(d) && a.salida) static_cast<void>(Permitido(*a.salida, d, a.forzar));
    }
    return docs;
}

[[nodiscard]] bool EsCarpeta(const std::string& ruta, std::string& error) {
    struct stat st {};
    const int numero = stat(ruta.c_str(), &st) == 0 ? 0 : errno;
    if (numero == 0 && S_ISDIR(st.st_mode)) return true;
    error = "--directorio " + ruta + ": " + (numero != 0 ? ExplicarErrno(numero) : "no es una carpeta") +
            "; indica una carpeta que ya exista.";
    return false;
}

// --- One document

struct Trabajo {
    const Argumentos& a;
    Firmante& firmante;
    LxPdfSigner::Metadatos meta;
    LxPdfSigner::Opciones opciones;
};

[[nodiscard]] LxPdfSigner::Opciones OpcionesDe(const Argumentos& a) {
    constexpr struct {
        const char* sello;
        int32_t modo;
    } kModos[] = {{"invisible", 0}, {"primera", 1}, {"ultima", 2}, {"todas", 3}};
    const std::string sello = a.sello.value_or("primera");
    for (const auto& m : kModos)
        if (sello == m.sello) return {m.modo, "", true, true};
    return {4, sello, true, true};
}

[[nodiscard]] std::string DestinoDe(const std::string& entrada, const Argumentos& a) {
    if (a.salida) return *a.salida;
    if (!a.directorio) return LxPdfSigner::RutaSalida(entrada);
    return LxPdfSigner::RutaSalida(*a.directorio + "/" + entrada.substr(entrada.rfind('/') + 1));
}

// Somebody else may take a name that this program chose: then the next one is tried.
[[nodiscard]] bool Colocar(Salida& salida, std::string& destino, Documento& d, const Argumentos& a) {
    constexpr int kIntentos = 20;
    bool ocupado = false;
    std::string error;
    for (int i = 0; i < kIntentos; ++i) {
        if (salida.Colocar(ocupado, error)) return true;
        if (!ocupado || a.salida) break;
        destino = DestinoDe(d.entrada, a);
        salida.CambiarDestino(destino);
    }
    return Fallo(d, Motivo::SalidaImposible, error);
}

void FirmarDocumento(Documento& d, const Trabajo& t) {
    std::string destino = DestinoDe(d.entrada, t.a);
    Salida salida;
    std::string error;
    if (!Permitido(destino, d, t.a.forzar)) return;
    if (!salida.Preparar(destino, t.a.forzar, error)) {
        Fallo(d, Motivo::SalidaImposible, error);
        return;
    }
    d.r = LxPdfSigner::Firmar(d.entrada, salida.Parcial(), t.firmante.Elegida().cert, t.firmante.Callback(), t.meta,
                              t.opciones);
    if (!d.r.firmado) {
        d.r.error = ConNombreFinal(d.r.error, salida.Parcial(), destino);
        if (d.r.error.empty()) d.r.error = "No se pudo firmar.";
        return;
    }
    d.r.firmado = Colocar(salida, destino, d, t.a);
    if (d.r.firmado) d.salida = destino;
}

void FirmarUno(Documento& d, const Trabajo& t) {
    try {
        FirmarDocumento(d, t);
    } catch (const std::bad_alloc&) {
        d.r = {};
        Fallo(d, Motivo::Excesivo, "no hay memoria suficiente para firmar " + d.entrada + ".");
    }
}

// --- What is said of it

void Contar(const Documento& d) {
    if (!d.r.aviso.empty()) Decir("Aviso: " + d.entrada + ": " + d.r.aviso);
    if (d.r.firmado) {
        Decir("Firmado: " + d.salida + "  (" + std::to_string(d.r.bytes) + " bytes)" +
              (d.r.nota.empty() ? "" : "  [" + d.r.nota + "]"));
        return;
    }
    Decir("No firmado: " + d.entrada + ": " + d.r.error);
    if (const std::string consejo = ConsejoPara(d.r.motivo); !consejo.empty()) Decir("  Consejo: " + consejo);
}

[[nodiscard]] std::string JsonDe(const std::vector<Lx::Aviso>& avisos) {
    std::vector<std::string> lista;
    lista.reserve(avisos.size());
    for (const Lx::Aviso& a : avisos)
        lista.push_back(Json::Objeto().PonerTexto("motivo", NombreDe(a.motivo)).PonerTexto("frase", a.frase).Cerrar());
    return Json::Lista(lista);
}

[[nodiscard]] std::string JsonDe(const Documentos& docs) {
    std::vector<std::string> lista;
    for (const Documento& d : docs) {
        Json::Objeto o;
        o.PonerTexto("entrada", d.entrada).PonerTexto("salida", d.salida).PonerLogico("firmado", d.r.firmado);
        o.PonerNumero("bytes", d.r.firmado ? d.r.bytes : 0).PonerTexto("nota", d.r.nota);
        o.PonerTexto("aviso", d.r.aviso).PonerTexto("error", d.r.error);
        o.PonerTexto("motivo", NombreDe(d.r.motivo)).Poner("avisos", std::string_view(JsonDe(d.r.avisos)));
        lista.push_back(o.Cerrar());
    }
    return Json::Objeto().PonerNumero("version", 1).Poner("documentos", std::string_view(Json::Lista(lista))).Cerrar() +
           "\n";
}

[[nodiscard]] int Responder(const Argumentos& a, const Documentos& docs, int estado) {
    if (a.json && !EscribirSalida(JsonDe(docs))) return kAlgoFallo;
    return estado;
}

[[nodiscard]] bool Pendiente(const Documento& d) {
    return d.r.error.empty();
}

void FallanTodos(Documentos& docs, Motivo motivo, const std::string& error) {
    for (Documento& d : docs)
        if (Pendiente(d)) Fallo(d, motivo, error);
}

void FirmarTodos(Documentos& docs, const Trabajo& t) {
    Progreso progreso(docs.size());
    for (size_t i = 0; i < docs.size(); ++i) {
        progreso.Mostrar(i, docs[i].entrada);
        std::string parado;
        if (Pendiente(docs[i]) && t.firmante.Parado(parado)) Fallo(docs[i], Motivo::ClaveNoFirma, parado);
        if (Pendiente(docs[i])) FirmarUno(docs[i], t);
        if (progreso.Activo() && docs[i].r.firmado && docs[i].r.aviso.empty()) continue;
        progreso.Quitar();
        Contar(docs[i]);
    }
}

}  // namespace

std::string JsonDeFalloFirmar(const Argumentos& a, const std::string& error) {
    Documentos docs;
    for (const std::string& ruta : a.documentos) {
        Documento& d = docs.emplace_back();
        d.entrada = ruta;
        d.r.error = error;
    }
    return JsonDe(docs);
}

int OrdenFirmar(const Argumentos& a) {
    std::string error;
    Documentos docs = Preparar(a);
    if (std::none_of(docs.begin(), docs.end(), Pendiente)) {
        for (const Documento& d : docs) Contar(d);
        return Responder(a, docs, kAlgoFallo);
    }
    if (a.directorio && !EsCarpeta(*a.directorio, error)) {
        DecirError(error);
        FallanTodos(docs, Motivo::SalidaImposible, error);
        return Responder(a, docs, kMalUso);
    }
    Fuentes fuentes;
    Lx::CertStore::Entrada elegida;
    if (!AbrirIdentidad(a, fuentes, elegida, error)) {
        DecirError(error);
        FallanTodos(docs, Motivo::CertificadoInutil, error);
        return Responder(a, docs, kSinCertificado);
    }
    Decir("Firmando con " + NombreDe(elegida.cert) + " ...");
    const ClaveAlmacen clave(a);
    Firmante firmante(elegida, fuentes.ctx);
    FirmarTodos(docs, {a, firmante, MetadatosDe(a, elegida), OpcionesDe(a)});
    if (const std::string mas = firmante.Epilogo(); !mas.empty()) Decir(mas);
    const auto firmados = std::count_if(docs.begin(), docs.end(), [](const Documento& d) { return d.r.firmado; });
    const auto total = static_cast<std::ptrdiff_t>(docs.size());
    if (total > 1) Decir("Firmados " + std::to_string(firmados) + " de " + std::to_string(total) + " documentos.");
    return Responder(a, docs, firmados == total ? kBien : kAlgoFallo);
}

}  // namespace Cli
