#include "cli/Identidad.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include "cli/Clave.h"
#include "cli/Pin.h"
#include "cli/Texto.h"

namespace Cli {

namespace {

constexpr int kIntentos = 3;

enum class EstadoPkcs12 { Leido, ClaveMala, Otro };

constexpr std::string_view kInicioParte = " | PKCS#12: ";

// What the summary says of the PKCS#12 file, which is its last part.
[[nodiscard]] std::string_view ParteDePkcs12(std::string_view resumen) {
    const size_t i = resumen.find(kInicioParte);
    return i == resumen.npos ? std::string_view() : resumen.substr(i + kInicioParte.size());
}

// Why it says that the card, which is its first part, gave nothing; empty when it doesn't.
[[nodiscard]] std::string MotivoDeTarjeta(std::string_view resumen) {
    constexpr std::string_view kInicio = "DNIe: ninguno (";
    const char* almacen = Lx::CertStore::NombreOrigen(Lx::CertStore::Origen::Sistema);
    const size_t fin = resumen.find(std::string(") | ") + almacen + ": ");
    if (fin == resumen.npos || resumen.substr(0, kInicio.size()) != kInicio) return {};
    return std::string(resumen.substr(kInicio.size(), fin - kInicio.size()));
}

[[nodiscard]] EstadoPkcs12 EstadoDe(std::string_view parte) {
    if (!parte.empty() && parte[0] >= '0' && parte[0] <= '9') return EstadoPkcs12::Leido;
    return parte.find("contraseña incorrecta") != parte.npos ? EstadoPkcs12::ClaveMala : EstadoPkcs12::Otro;
}

// What can be known before a person types a password.
[[nodiscard]] bool EsLegible(const std::string& ruta, std::string& error) {
    struct stat st {};
    const int fd = open(ruta.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    int motivo = fd < 0 || fstat(fd, &st) != 0 ? errno : 0;
    if (motivo == 0 && S_ISDIR(st.st_mode)) motivo = EISDIR;
    if (fd >= 0) close(fd);
    if (motivo == 0) return true;
    error = motivo == ENOENT ? "no existe el fichero " + ruta + "."
                             : "no se pudo leer " + ruta + ": " + ExplicarErrno(motivo) + ".";
    return false;
}

[[nodiscard]] std::string NombreFichero(const std::string& ruta) {
    return ruta.substr(ruta.rfind('/') + 1);
}

[[nodiscard]] bool ObtenerClave(const std::string& ruta, const Argumentos& a, std::string& clave, std::string& error) {
    if (!SePregunta(a.claveDesde)) return LeerClave(kContrasena, *a.claveDesde, clave, error);
    return PreguntarClave(kContrasena, "Contraseña de " + NombreFichero(ruta) + ": ", clave, error);
}

[[nodiscard]] std::string ConPunto(std::string frase) {
    if (frase.empty() || frase.back() != '.') frase += '.';
    return frase;
}

[[nodiscard]] bool EsDeTarjeta(const Lx::CertStore::Entrada& e) {
    return e.origen == Lx::CertStore::Origen::Dnie;
}

// Whoever names a reader means the card in it.
[[nodiscard]] bool HayLaTarjetaPedida(const Argumentos& a, const Fuentes& fuentes, std::string& error) {
    if (!a.lector || std::any_of(fuentes.lista.begin(), fuentes.lista.end(), EsDeTarjeta)) return true;
    const std::string motivo = MotivoDeTarjeta(fuentes.resumen);
    error = "no se leyó ningún certificado en el lector '" + *a.lector + "'" + (motivo.empty() ? "" : ": ") + motivo;
    error = ConPunto(error) + " Compruébalo con: velmora-cli diagnosticar --lector '" + *a.lector + "'";
    return false;
}

// A certificate that the system store has too is listed for that one only. Whoever names the file means the file's key,
// which a signature proves.
void DevolverAlFichero(Fuentes& fuentes) {
    using Lx::CertStore::Origen;
    constexpr std::string_view kPrueba = "Velmora: prueba de clave";
    const auto delFichero = [](const Lx::CertStore::Entrada& e) { return e.origen == Origen::Pkcs12; };
    if (fuentes.ctx.rutaPkcs12.empty() || std::any_of(fuentes.lista.begin(), fuentes.lista.end(), delFichero)) return;
    for (Lx::CertStore::Entrada& e : fuentes.lista) {
        if (e.origen != Origen::Sistema) continue;
        Lx::CertStore::Entrada suya = e;
        suya.origen = Origen::Pkcs12;
        suya.conClave = true;
        std::vector<unsigned char> firma;
        std::string mensaje;
        if (Lx::CertStore::Firmar(suya, fuentes.ctx, {kPrueba.begin(), kPrueba.end()}, firma, mensaje)) e = suya;
    }
}

[[nodiscard]] std::optional<Lx::CertStore::Origen> OrigenPedido(const Argumentos& a) {
    if (!a.pkcs12.empty()) return Lx::CertStore::Origen::Pkcs12;
    return a.lector ? std::optional(Lx::CertStore::Origen::Dnie) : std::nullopt;
}

void MostrarOpciones(const Fuentes& fuentes, int64_t ahora) {
    Decir(fuentes.resumen);
    size_t pos = 0;
    const std::string tabla = fuentes.lista.empty() ? "" : Tabla(fuentes.lista, ahora, AnchoTerminal(STDERR_FILENO));
    for (size_t fin = 0; (fin = tabla.find('\n', pos)) != tabla.npos; pos = fin + 1)
        Decir(std::string_view(tabla).substr(pos, fin - pos));
}

}  // namespace

Fuentes::~Fuentes() {
    Limpiar(ctx.clavePkcs12);
    Limpiar(ctx.pin);
}

bool Listar(const std::string& ruta, const Argumentos& a, Fuentes& fuentes, std::string& error) {
    error.clear();
    fuentes.ctx.lector = a.lector.value_or("");
    if (ruta.empty() || !EsLegible(ruta, error)) {
        fuentes.lista = Lx::CertStore::Listar(fuentes.ctx, fuentes.resumen);
        return error.empty() && HayLaTarjetaPedida(a, fuentes, error);
    }
    for (int intento = 1;; ++intento) {
        if (!ObtenerClave(ruta, a, fuentes.ctx.clavePkcs12, error)) return false;
        fuentes.ctx.rutaPkcs12 = ruta;
        fuentes.lista = Lx::CertStore::Listar(fuentes.ctx, fuentes.resumen);
        const std::string_view parte = ParteDePkcs12(fuentes.resumen);
        const EstadoPkcs12 estado = EstadoDe(parte);
        if (estado == EstadoPkcs12::Leido) return true;
        error = ConPunto(std::string(parte));
        if (estado != EstadoPkcs12::ClaveMala || !SePregunta(a.claveDesde) || intento == kIntentos) return false;
        Decir("La contraseña no es correcta o el fichero está dañado.");
    }
}

bool AbrirIdentidad(const Argumentos& a, Fuentes& fuentes, Lx::CertStore::Entrada& elegida, std::string& error) {
    if (!Listar(a.pkcs12.empty() ? std::string() : a.pkcs12.front(), a, fuentes, error)) return false;
    DevolverAlFichero(fuentes);
    const int64_t ahora = std::time(nullptr);
    std::string aviso;
    const int indice = Elegir(fuentes.lista, a.certificado, OrigenPedido(a), ahora, aviso, error);
    if (indice < 0) {
        MostrarOpciones(fuentes, ahora);
        if (fuentes.lista.empty() && a.pkcs12.empty())
            error += " Indica una identidad con --pkcs12 FICHERO, o comprueba el DNIe con: velmora-cli diagnosticar";
        return false;
    }
    if (!aviso.empty()) Decir("Aviso: " + aviso);
    elegida = fuentes.lista[static_cast<size_t>(indice)];
    return !EsDeTarjeta(elegida) || ObtenerPin(a, elegida.lector, fuentes.ctx.pin, error);
}

}  // namespace Cli
