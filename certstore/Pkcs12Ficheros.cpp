#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "certstore/Pkcs12.h"
#include "certstore/Pkcs12Claves.h"
#include "crypto/LxDescriptor.h"
#include "crypto/LxFichero.h"

namespace Lx::CertStore {

namespace {

[[nodiscard]] std::string CarpetaTemporal() {
    for (const char* variable : {"TEMP", "TMP", "TMPDIR"})
        if (const char* valor = std::getenv(variable); valor != nullptr && *valor != '\0') return valor;
    return "/tmp";
}

// A new file of mode 0600 under a name of RutaTemporal with this content. It never follows a link nor opens a file that
// was there: a name that is taken is passed over for the next one. On false there is no file.
[[nodiscard]] bool CrearTemporal(const std::string& sufijo, std::string_view datos, std::string& ruta) {
    constexpr int kNombres = 100;
    Api::Descriptor fd;
    for (int i = 0; i < kNombres && !fd; ++i) {
        ruta = RutaTemporal(sufijo);
        fd = Api::Descriptor(
            open(ruta.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!fd && errno != EEXIST) break;
    }
    if (!fd) return false;
    const bool escrito = Api::EscribirTodo(fd.Valor(), datos);
    if (fd.Cerrar() && escrito) return true;
    unlink(ruta.c_str());
    return false;
}

bool Fallo(PfxClaves& salida, std::string frase) {
    salida.error = std::move(frase);
    return false;
}

}  // namespace

std::string RutaTemporal(const std::string& sufijo) {
    static std::atomic<long> contador{0};
    char nombre[64];
    std::snprintf(nombre, sizeof nombre, "lxcert_%ld_%d", ++contador, static_cast<int>(getpid()));
    return CarpetaTemporal() + "/" + nombre + sufijo;
}

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
    const Control control;
    const std::string openssl = RutaOpenssl(control);
    if (openssl.empty()) return Fallo(salida, "no se encontro el programa 'openssl' en el PATH del sistema.");
    BloqueSecreto pem(kTopeClaves);
    if (Aviso fallo = LeerClaves(openssl, rutaPfx, clave, pem, control)) return Fallo(salida, std::move(fallo.frase));
    std::string ruta;
    if (!CrearTemporal(".key", pem.Ver(), ruta)) return Fallo(salida, "no se pudo escribir un temporal.");
    salida.rutaClave = std::move(ruta);
    salida.ok = true;
    return true;
}

}  // namespace Lx::CertStore
