#include "signer/PdfFichero.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "crypto/LxDescriptor.h"
#include "crypto/LxFichero.h"
#include "pdf/LxSintaxis.h"

namespace LxPdfSigner::Interno {

using namespace LxPdf;

namespace {

using Lx::Api::Descriptor;
using Lx::Api::LeerEn;
using Lx::Api::Interno::Sha256Ctx;
using Lx::Api::Interno::Sha256Fin;
using Lx::Api::Interno::Sha256Update;

constexpr size_t kTrozo = 256U << 10;

// Bytes read at the file's position, 0 at its end, negative on an error. A folder reads as an empty file.
ssize_t LeerTrozo(int fd, char* destino, size_t size) {
    for (;;) {
        const ssize_t n = read(fd, destino, size);
        if (n >= 0 || errno != EINTR) return n < 0 && errno == EISDIR ? 0 : n;
    }
}

// What follows the last "/ByteRange [" that begins at `desde` or later, searched backwards in pieces.
bool BuscarByteRange(int fd, uint64_t desde, uint64_t total, std::string& texto) {
    constexpr std::string_view kClave = "/ByteRange [";
    constexpr size_t kNumeros = 128;
    std::string ventana;
    for (uint64_t fin = total; fin > desde;) {
        const uint64_t ini = fin - std::min<uint64_t>(fin - desde, kTrozo);
        ventana.resize(static_cast<size_t>(std::min(total - ini, fin - ini + kClave.size() + kNumeros)));
        const ssize_t n = LeerEn(fd, ventana.data(), ventana.size(), static_cast<off_t>(ini));
        if (n != static_cast<ssize_t>(ventana.size())) return false;
        const size_t hallado = ventana.rfind(kClave);
        if (hallado != std::string::npos) {
            texto = ventana.substr(hallado + kClave.size(), kNumeros);
            return true;
        }
        fin = ini;
    }
    return false;
}

bool HashDeTramo(int fd, uint64_t desde, uint64_t hasta, std::string& pieza, Sha256Ctx& hash) {
    while (desde < hasta) {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(hasta - desde, pieza.size()));
        if (LeerEn(fd, pieza.data(), n, static_cast<off_t>(desde)) != static_cast<ssize_t>(n)) return false;
        Sha256Update(hash, pieza.data(), n);
        desde += n;
    }
    return true;
}

// [0 b c d]: from the start up to the hole, and from behind it to the end (ISO 32000-1, 12.8.1).
bool RangosValidos(const std::string& texto, uint64_t total, uint64_t (&rangos)[4]) {
    size_t pos = 0;
    for (uint64_t& r : rangos) {
        long n = 0;
        if (!LeerEntero(texto, pos, n) || n < 0) return false;
        r = static_cast<uint64_t>(n);
    }
    return rangos[0] == 0 && rangos[1] >= 1 && rangos[2] >= rangos[1] && rangos[3] >= 1 && rangos[2] <= total &&
           rangos[3] == total - rangos[2];
}

}  // namespace

bool Leer(const std::string& ruta, std::string& datos) {
    datos.clear();
    const Descriptor fichero(open(ruta.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fichero) return false;
    struct stat info = {};
    if (fstat(fichero.Valor(), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
        datos.reserve(static_cast<size_t>(info.st_size) + 1);
    }
    // Grows by pieces that fit in the cache: the zeros that resize writes first never reach the memory bus.
    for (size_t leidos = 0;;) {
        if (leidos == datos.capacity()) datos.reserve(leidos + std::max(kTrozo, leidos / 2));
        const size_t hueco = std::min(kTrozo, datos.capacity() - leidos);
        datos.resize(leidos + hueco);
        const ssize_t n = LeerTrozo(fichero.Valor(), datos.data() + leidos, hueco);
        datos.resize(leidos + static_cast<size_t>(std::max<ssize_t>(n, 0)));
        if (n <= 0) return n == 0;
        leidos = datos.size();
    }
}

bool Escribir(const std::string& ruta, std::initializer_list<std::string_view> piezas, Lx::Motivo& motivo,
              std::string& error) {
    Descriptor fichero(open(ruta.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (fichero.Valor() < 0) {
        motivo = Lx::Motivo::SalidaImposible;
        error = "no se pudo abrir " + ruta + " para escritura.";
        return false;
    }
    struct stat info = {};
    const bool esRegular = fstat(fichero.Valor(), &info) == 0 && S_ISREG(info.st_mode);
    const bool completo = std::all_of(piezas.begin(), piezas.end(), [&](std::string_view pieza) {
        return Lx::Api::EscribirTodo(fichero.Valor(), pieza);
    });
    if (fichero.Cerrar() && completo) return true;
    if (esRegular) unlink(ruta.c_str());
    motivo = Lx::Motivo::SalidaIncompleta;
    error = "escritura incompleta de " + ruta + ".";
    return false;
}

bool Comprobar(int fd, uint64_t cubiertos, Sha256Ctx hash, const std::vector<unsigned char>& digest) {
    struct stat info = {};
    if (fstat(fd, &info) != 0 || info.st_size < 1) return false;
    const uint64_t total = static_cast<uint64_t>(info.st_size);
    std::string texto;
    uint64_t rangos[4] = {};
    if (!BuscarByteRange(fd, cubiertos, total, texto) || !RangosValidos(texto, total, rangos)) return false;
    std::string pieza(static_cast<size_t>(std::min<uint64_t>(total - cubiertos, kTrozo)), '\0');
    return rangos[1] >= cubiertos && HashDeTramo(fd, cubiertos, rangos[1], pieza, hash) &&
           HashDeTramo(fd, rangos[2], total, pieza, hash) && Sha256Fin(hash) == digest;
}

bool Verificar(const std::string& ruta, const std::vector<unsigned char>& digest) {
    const Descriptor fichero(open(ruta.c_str(), O_RDONLY | O_CLOEXEC));
    return fichero && Comprobar(fichero.Valor(), 0, {}, digest);
}

bool MismoFichero(const std::string& una, const std::string& otra) {
    struct stat a = {};
    struct stat b = {};
    return stat(una.c_str(), &a) == 0 && stat(otra.c_str(), &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace LxPdfSigner::Interno
