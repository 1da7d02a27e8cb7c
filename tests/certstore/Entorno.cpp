#include "Entorno.h"

#include <algorithm>
#include <cstdlib>

#include "FuentesFalsas.h"
#include "certstore/Pkcs12.h"
#include "crypto/LxApi.h"
#include "crypto/LxDer.h"
#include "tests/crypto/Der.h"

namespace fs = std::filesystem;
using Apoyo::EscribirFichero;
using Lx::CertStore::Ruta2Cmd;
using PruebaDer::Elem;
using PruebaDer::Sec;

fs::path Entorno::base;
fs::path Entorno::temp;

void Entorno::SetUp() {
    g_fuentes = {};
    base = carpeta_.emplace().Ruta();
    temp = base / "temp";
    fs::create_directory(temp);
    setenv("TEMP", temp.c_str(), 1);
    unsetenv("XDG_RUNTIME_DIR");
    path_ = std::getenv("PATH");
}

void Entorno::TearDown() {
    setenv("PATH", path_.c_str(), 1);
    unsetenv("TEMP");
    carpeta_.reset();
}

void Entorno::Orden(const std::string& orden) {
    Apoyo::Exigir({"env", "-C", base, "sh", "-c", orden});
}

void Entorno::CrearIdentidad(const std::string& nombre, const std::string& tipo) {
    Orden("openssl req -x509 -newkey " + tipo + " -nodes -keyout " + Ruta2Cmd(nombre + ".key") + " -out " +
          Ruta2Cmd(nombre + ".crt") + " -days 30 -subj " + Ruta2Cmd("/CN=" + nombre));
}

void Entorno::CrearPfx(const std::string& ruta, const std::string& nombre, const std::string& clave,
                       const std::string& opciones) {
    if (!fs::exists(base / (nombre + ".key"))) CrearIdentidad(nombre);
    EscribirFichero(base / "clave.txt", clave + "\n");
    fs::create_directories((base / ruta).parent_path());
    Orden("openssl pkcs12 -export -inkey " + Ruta2Cmd(nombre + ".key") + " -in " + Ruta2Cmd(nombre + ".crt") + " " +
          opciones + " -passout file:clave.txt -out " + Ruta2Cmd((base / ruta).string()));
}

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData } (RFC 7292, 4), with a MAC of openssl's
// making (RFC 7292, B).
void Entorno::JuntarPfx(const std::string& ruta, const std::vector<std::pair<std::string, size_t>>& partes,
                        const std::string& clave) {
    std::string contenidos;
    for (const auto& [nombre, parte] : partes) {
        const std::string p12 = Apoyo::LeerFichero(base / nombre);
        const auto* der = reinterpret_cast<const unsigned char*>(p12.data());
        const auto hijo = [&](size_t en, size_t cual) {
            Lx::Der::Tlv tlv;
            for (size_t i = 0; i <= cual; ++i) EXPECT_TRUE(Lx::Der::Next(der, p12.size(), en, tlv));
            return tlv;
        };
        // SEQUENCE, authSafe, [0], OCTET STRING, AuthenticatedSafe, one ContentInfo
        size_t en = 0;
        for (const size_t cual : {size_t{0}, size_t{1}, size_t{1}, size_t{0}, size_t{0}}) en = hijo(en, cual).contenido;
        const Lx::Der::Tlv info = hijo(en, parte);
        contenidos += p12.substr(info.inicio, info.fin - info.inicio);
    }
    const auto hex = [](const std::string& bytes) { return Lx::Api::BinToHex(bytes.data(), bytes.size()); };
    const auto binario = [](const std::string& texto) {
        const auto bytes = Lx::Api::HexToBin(texto.substr(0, texto.find('\n')));
        return std::string(bytes.begin(), bytes.end());
    };
    std::string bmp, sal = "sal-sal-";
    for (const char c : clave + '\0') bmp += std::string(1, '\0') + c;
    const std::string safe = Sec(contenidos);
    const std::string kdf = binario(
        Apoyo::Exigir({"openssl", "kdf", "-keylen", "32", "-kdfopt", "digest:SHA256", "-kdfopt", "hexpass:" + hex(bmp),
                       "-kdfopt", "hexsalt:" + hex(sal), "-kdfopt", "id:3", "-kdfopt", "iter:1", "PKCS12KDF"}));
    const std::string mac = binario(Apoyo::Exigir(
        {"openssl", "mac", "-digest", "SHA256", "-macopt", "hexkey:" + hex(kdf), "-in", "-", "HMAC"}, safe));
    const std::string sha256 = Sec(Elem(6, binario("608648016503040201")) + Elem(5, ""));
    const std::string datos = Sec(Elem(6, binario("2A864886F70D010701")) + Elem(0xA0, Elem(4, safe)));
    EscribirFichero(base / ruta, Sec(Elem(2, "\x03") + datos + Sec(Sec(sha256 + Elem(4, mac)) + Elem(4, sal))));
}

void Entorno::PonerOpenssl(const std::string& guion) const {
    const std::string bin = base / "bin";
    fs::create_directory(bin);
    fs::permissions(bin, fs::perms::owner_all);
    const std::string real = Apoyo::Exigir({"env", "PATH=" + path_, "sh", "-c", "command -v openssl"});
    EscribirFichero(bin + "/openssl", "#!/bin/sh\nREAL=" + real + guion);
    fs::permissions(bin + "/openssl", fs::perms::owner_all);
    setenv("PATH", (bin + ":" + path_).c_str(), 1);
}

std::vector<std::string> Entorno::Nombres(const fs::path& carpeta) {
    std::vector<std::string> nombres;
    for (const fs::directory_entry& e : fs::directory_iterator(carpeta)) nombres.push_back(e.path().filename());
    std::sort(nombres.begin(), nombres.end());
    return nombres;
}

Lx::X509::Certificado Entorno::LeerCertificado(const std::string& nombre) {
    const std::string der = Apoyo::Exigir({"openssl", "x509", "-in", base / (nombre + ".crt"), "-outform", "DER"});
    Lx::X509::Certificado cert;
    EXPECT_TRUE(Lx::X509::Parsear({der.begin(), der.end()}, cert));
    return cert;
}
