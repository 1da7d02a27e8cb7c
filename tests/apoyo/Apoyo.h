// Shared by the tests of several modules: temporary folders, other programs, identities made by openssl while the test
// runs, and independent validators of a signed PDF. What goes wrong in here fails the running test.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "crypto/LxX509.h"

namespace Apoyo {

template <class... Columnas>
using Filas = std::vector<std::tuple<Columnas...>>;

// A folder of its own (0700), removed with all that is in it.
class CarpetaTemporal {
  public:
    CarpetaTemporal();
    ~CarpetaTemporal();
    CarpetaTemporal(const CarpetaTemporal&) = delete;
    CarpetaTemporal& operator=(const CarpetaTemporal&) = delete;
    [[nodiscard]] const std::string& Ruta() const { return ruta_; }
    [[nodiscard]] std::string operator/(std::string_view nombre) const { return ruta_ + "/" + std::string(nombre); }

  private:
    std::string ruta_;
};

[[nodiscard]] std::string LeerFichero(const std::string& ruta);
void EscribirFichero(const std::string& ruta, std::string_view datos);

// A document with a classic table: objects 1.. in order, the first its catalogue.
[[nodiscard]] std::string PdfDe(const std::vector<std::string>& objetos, const std::string& trailer = {});

[[nodiscard]] size_t Cuenta(std::string_view texto, std::string_view parte);

struct Salida {
    int codigo = -1;  // exit status; 128 and more for a signal; 127 when the program isn't there
    std::string texto;
    std::string errores;
};
// Runs a program found in PATH, without a shell; `entrada` is its standard input. For variables: {"env", "A=B", …}.
Salida Ejecutar(const std::vector<std::string>& argumentos, std::string_view entrada = {});

// Its standard output; a status other than 0 fails the test.
std::string Exigir(const std::vector<std::string>& argumentos, std::string_view entrada = {});

// Calls `hacer` in a process of its own, so that what it does to itself goes with it: 0 when it returned true, 1 when
// false, 128 and more for a signal.
int Aparte(const std::function<bool()>& hacer);

struct OpcionesIdentidad {
    std::string cn = "Ana Núñez Peña";
    std::string clave = "rsa:2048";  // or "ec"
    std::string password = "secreta";
    std::string uso = "critical,digitalSignature,nonRepudiation";  // keyUsage
};
struct Identidad {
    // Paths in the folder: key.pem, cert.pem, ca.pem, identidad.p12 and the trust store of pdfsig.
    std::string clave, cert, ca, p12, nss;
    std::string password;  // of the PKCS#12 file
    Lx::X509::Certificado certificado;
    // Signs what it gets with `openssl dgst -sha256`, as a callback of the engine must.
    std::function<std::vector<unsigned char>(const std::vector<unsigned char>&, std::string&)> firmar;
};
[[nodiscard]] Identidad CrearIdentidad(const std::string& carpeta, const OpcionesIdentidad& opciones = {});
// The one that the tests of a program share, made when it is first asked for.
[[nodiscard]] const Identidad& IdentidadComun();

// One signature of a PDF, read by its /ByteRange alone.
struct FirmaPdf {
    size_t antes = 0;       // position of the "<" of /Contents
    size_t despues = 0;     // position after its ">"
    size_t fin = 0;         // end of the second range
    std::string cms;        // DER with its padding
    std::string contenido;  // the bytes that it covers
};
[[nodiscard]] std::vector<FirmaPdf> FirmasDe(const std::string& pdf);

[[nodiscard]] Salida VerificarCms(const std::string& cms, const std::string& contenido, const Identidad& identidad);

// What each program says of the file, which must have signatures at all.
struct Veredicto {
    bool pdfsig = false;   // every signature valid, the certificate trusted
    bool openssl = false;  // cms -verify -cades of every signature over its ranges
    bool qpdf = false;     // --check without a warning
    std::string texto;     // all that they said
};
[[nodiscard]] Veredicto Juzgar(const std::string& ruta, const Identidad& identidad);

// EXPECT_TRUE(PdfValido(ruta, identidad, 2)): the last of `firmas` signatures covers the whole file and all judges
// agree.
[[nodiscard]] testing::AssertionResult PdfValido(const std::string& ruta, const Identidad& identidad,
                                                 size_t firmas = 1);

}  // namespace Apoyo
