#include "tests/apoyo/tarjeta/Identidades.h"

#include <map>
#include <string_view>
#include <utility>

#include "tests/apoyo/Apoyo.h"

namespace Apoyo {

namespace {

std::map<std::string, ClaveTarjeta>& Claves() {
    static std::map<std::string, ClaveTarjeta> claves;
    return claves;
}

Bytes ABytes(const std::string& datos) {
    return Bytes(datos.begin(), datos.end());
}

std::string_view Vista(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

ClaveTarjeta Crear(const std::string& nombre) {
    const std::string base = CarpetaPrivada() + "/" + nombre;
    EscribirFichero(base + ".cnf",
                    "[req]\ndistinguished_name=dn\nprompt=no\nx509_extensions=ext\n[dn]\nC=PE\n"
                    "O=Autoridad de prueba\nserialNumber=00000000\nCN=TITULAR DE PRUEBA " +
                        nombre + "\n[ext]\nbasicConstraints=critical,CA:" + (nombre == "ca" ? "TRUE" : "FALSE") +
                        "\nkeyUsage=critical,digitalSignature,nonRepudiation\nsubjectKeyIdentifier=hash\n");
    const std::string clase = nombre == "ec" ? "ec -pkeyopt ec_paramgen_curve:P-256" : "rsa:2048";
    const std::string der = Exigir({"sh", "-c",
                                    "openssl req -x509 -nodes -days 3650 -set_serial 4660 -outform DER -newkey " +
                                        clase + " -config " + base + ".cnf -keyout " + base + ".pem"});
    return {ABytes(der), base + ".pem"};
}

}  // namespace

const std::string& CarpetaPrivada() {
    static const CarpetaTemporal carpeta;
    return carpeta.Ruta();
}

const ClaveTarjeta& ClaveDe(const std::string& nombre) {
    const auto it = Claves().find(nombre);
    return it != Claves().end() ? it->second : Claves().emplace(nombre, Crear(nombre)).first->second;
}

void RegistrarClave(const std::string& nombre, ClaveTarjeta clave) {
    Claves()[nombre] = std::move(clave);
}

Bytes FirmarDigestInfo(const ClaveTarjeta& clave, const Bytes& digestInfo) {
    static std::map<std::pair<std::string, Bytes>, Bytes> hechas;  // one run of openssl per different question
    Bytes& firma = hechas[{clave.clave, digestInfo}];
    if (firma.empty())
        firma =
            ABytes(Exigir({"openssl", "pkeyutl", "-sign", "-pkeyopt", "rsa_padding_mode:pkcs1", "-inkey", clave.clave},
                          Vista(digestInfo)));
    return firma;
}

bool VerificaOpenssl(const ClaveTarjeta& clave, const Bytes& datos, const Bytes& firma) {
    const std::string ruta = CarpetaPrivada() + "/firma";
    EscribirFichero(ruta, Vista(firma));
    return Ejecutar({"openssl", "dgst", "-sha256", "-prverify", clave.clave, "-signature", ruta}, Vista(datos))
               .codigo == 0;
}

}  // namespace Apoyo
