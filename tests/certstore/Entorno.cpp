#include "Entorno.h"

#include <algorithm>
#include <cstdlib>

#include "FuentesFalsas.h"
#include "certstore/Pkcs12.h"

namespace fs = std::filesystem;
using Apoyo::EscribirFichero;
using Lx::CertStore::Ruta2Cmd;

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

void Entorno::PonerOpenssl(const std::string& guion) const {
    const std::string bin = base / "bin";
    fs::create_directory(bin);
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
