#include "certstore/Pkcs12.h"

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "certstore/LxTemporales.h"
#include "crypto/LxApi.h"

namespace Lx::CertStore {

namespace {

// While system() waits, this process ignores the keyboard's interrupt and only the child dies of it. The user meant the
// program: it ends as if the signal had come here, without leaving files even where nothing handles the signal.
void AcabarSiInterrumpido(int estado) {
    constexpr int kDesplazamiento = 128;  // how a shell reports a command that died of a signal
    for (const int senal : {SIGINT, SIGQUIT}) {
        const bool directa = WIFSIGNALED(estado) && WTERMSIG(estado) == senal;
        const bool porShell = WIFEXITED(estado) && WEXITSTATUS(estado) == kDesplazamiento + senal;
        if (!directa && !porShell) continue;
        QuitarTemporales();
        raise(senal);
    }
}

[[nodiscard]] bool Ejecutar(const std::string& orden) {
    const int estado = std::system(orden.c_str());
    if (estado != -1) AcabarSiInterrumpido(estado);
    return estado == 0;
}

// Only a yes is remembered: the user may install the program while this one runs.
[[nodiscard]] bool HayOpenssl() {
    static std::atomic<bool> hay{false};
    if (!hay) hay = Ejecutar("openssl version >/dev/null 2>&1");
    return hay;
}

[[nodiscard]] std::string OrdenPkcs12(const std::string& rutaPfx, const FicheroTemporal& clave, const char* opciones) {
    return "openssl pkcs12 -in " + Ruta2Cmd(rutaPfx) + " -passin file:" + Ruta2Cmd(clave.Ruta()) + opciones;
}

// Appends to `salida` what the command writes to its standard output. Whether it ended well.
[[nodiscard]] bool LeerSalida(const std::string& orden, std::string& salida) {
    FILE* tuberia = popen(orden.c_str(), "r");
    if (tuberia == nullptr) return false;
    std::array<char, 4096> trozo;
    while (const size_t n = std::fread(trozo.data(), 1, trozo.size(), tuberia)) salida.append(trozo.data(), n);
    const int estado = pclose(tuberia);
    if (estado != -1) AcabarSiInterrumpido(estado);
    return estado == 0;
}

// The DER of every certificate in a PEM text (RFC 7468, 5).
[[nodiscard]] std::vector<std::string> BloquesPem(std::string_view texto) {
    constexpr std::string_view kInicio = "-----BEGIN CERTIFICATE-----";
    constexpr std::string_view kFin = "-----END CERTIFICATE-----";
    std::vector<std::string> bloques;
    for (size_t i = texto.find(kInicio); i != texto.npos; i = texto.find(kInicio, i)) {
        i += kInicio.size();
        const size_t fin = texto.find(kFin, i);
        if (fin == texto.npos) break;
        std::string der;
        if (Api::Base64Decode(std::string(texto.substr(i, fin - i)), der)) bloques.push_back(std::move(der));
        i = fin + kFin.size();
    }
    return bloques;
}

// Files of old programs (RC2, 3DES) open only when openssl is told to load the algorithms that it has given up.
constexpr const char* kModos[] = {"", " -legacy"};

// The certificates of the file, from whichever try gives some.
[[nodiscard]] std::vector<std::string> LeerCertificados(const std::string& orden) {
    std::vector<std::string> bloques;
    for (const char* modo : kModos) {
        std::string salida;
        const bool bien = LeerSalida(orden + modo + " 2>/dev/null", salida);
        std::vector<std::string> leidos = BloquesPem(salida);
        if (!leidos.empty()) bloques = std::move(leidos);
        if (bien && !bloques.empty()) break;
    }
    return bloques;
}

[[nodiscard]] bool EscribirClave(const std::string& orden) {
    return std::any_of(std::begin(kModos), std::end(kModos),
                       [&orden](const char* modo) { return Ejecutar(orden + modo + " >/dev/null 2>&1"); });
}

[[nodiscard]] std::string NombreFichero(const std::string& ruta) {
    const size_t barra = ruta.find_last_of("/\\");
    return barra == ruta.npos ? ruta : ruta.substr(barra + 1);
}

// Whole content of a file, empty when it can't be read.
[[nodiscard]] std::vector<unsigned char> LeerFichero(const std::string& ruta) {
    std::vector<unsigned char> datos;
    const std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(ruta.c_str(), "rb"), std::fclose);
    if (!f || std::fseek(f.get(), 0, SEEK_END) != 0) return datos;
    const long tamano = std::ftell(f.get());
    if (tamano < 1 || std::fseek(f.get(), 0, SEEK_SET) != 0) return datos;
    datos.resize(static_cast<size_t>(tamano));
    if (std::fread(datos.data(), 1, datos.size(), f.get()) != datos.size()) datos.clear();
    return datos;
}

bool Fallo(PfxClaves& salida, const char* frase) {
    salida.error = frase;
    return false;
}

}  // namespace

std::string Ruta2Cmd(const std::string& ruta) {
    std::string palabra = "'";
    for (const char c : ruta) {
        if (c == '\'')
            palabra += "'\\''";
        else
            palabra += c;
    }
    return palabra + "'";
}

bool ExtraerClavePfx(const std::string& rutaPfx, const std::string& clave, PfxClaves& salida) {
    salida = {};
    if (!HayOpenssl()) return Fallo(salida, "no se encontro el programa 'openssl' en el PATH del sistema.");
    FicheroTemporal ficheroClave;
    if (!ficheroClave.Crear(".pass", {clave, "\n"}))
        return Fallo(salida, "no se pudo crear un temporal para la contraseña.");
    FicheroTemporal pem;
    if (!pem.Crear(".key")) return Fallo(salida, "no se pudo escribir un temporal.");
    const bool abierto =
        EscribirClave(OrdenPkcs12(rutaPfx, ficheroClave, " -nocerts -nodes -out ") + Ruta2Cmd(pem.Ruta()));
    ficheroClave.Quitar();
    if (!abierto) return Fallo(salida, "openssl no pudo abrir el PKCS#12 (contraseña incorrecta o fichero dañado).");
    salida.rutaClave = pem.Soltar();
    salida.ok = true;
    return true;
}

std::string ListarPkcs12(const Contexto& ctx, std::vector<Entrada>& lista) {
    if (!Api::FileExists(ctx.rutaPkcs12)) return "no existe el fichero " + ctx.rutaPkcs12;
    if (!HayOpenssl()) return "para leer el PKCS#12 hace falta el programa 'openssl' en el PATH.";
    FicheroTemporal ficheroClave;
    if (!ficheroClave.Crear(".pass", {ctx.clavePkcs12, "\n"}))
        return "no se pudo crear un temporal para la contraseña.";
    const std::vector<std::string> bloques =
        LeerCertificados(OrdenPkcs12(ctx.rutaPkcs12, ficheroClave, " -nokeys -clcerts"));
    ficheroClave.Quitar();
    if (bloques.empty())
        return "openssl no extrajo ningun certificado del PKCS#12 (contraseña incorrecta o fichero dañado).";

    PfxClaves claves;
    const bool conClave = ExtraerClavePfx(ctx.rutaPkcs12, ctx.clavePkcs12, claves);
    for (const std::string& der : bloques) {
        Entrada e;
        if (!X509::Parsear(reinterpret_cast<const unsigned char*>(der.data()), der.size(), e.cert)) continue;
        e.origen = Origen::Pkcs12;
        e.etiqueta = "PFX · " + NombreFichero(ctx.rutaPkcs12);
        e.conClave = conClave;
        lista.push_back(std::move(e));
    }
    std::string texto = std::to_string(bloques.size()) + " certificado(s) del PKCS#12";
    if (!conClave) texto += " (sin clave privada: " + claves.error + ")";
    return texto;
}

std::vector<unsigned char> FirmarPkcs12(const Contexto& ctx, const std::vector<unsigned char>& datos,
                                        std::string& error) {
    const auto fallo = [&error](std::string frase) {
        error = std::move(frase);
        return std::vector<unsigned char>();
    };
    if (ctx.rutaPkcs12.empty()) return fallo("no hay ruta del PKCS#12.");
    if (!HayOpenssl()) return fallo("falta el programa 'openssl' en el PATH.");
    PfxClaves claves;
    if (!ExtraerClavePfx(ctx.rutaPkcs12, ctx.clavePkcs12, claves)) return fallo(std::move(claves.error));

    const FicheroTemporal clave(std::move(claves.rutaClave));
    FicheroTemporal mensaje, firma;
    if (!mensaje.Crear(".msg", {{reinterpret_cast<const char*>(datos.data()), datos.size()}}) || !firma.Crear(".sig"))
        return fallo("no se pudo escribir un temporal.");
    // Not the exit status but the file says whether there is a signature.
    static_cast<void>(Ejecutar("openssl dgst -sha256 -sign " + Ruta2Cmd(clave.Ruta()) + " -out " +
                               Ruta2Cmd(firma.Ruta()) + " " + Ruta2Cmd(mensaje.Ruta()) + " >/dev/null 2>&1"));
    std::vector<unsigned char> bytes = LeerFichero(firma.Ruta());
    if (bytes.empty()) return fallo("openssl no pudo firmar con la clave del PKCS#12.");
    return bytes;
}

}  // namespace Lx::CertStore
