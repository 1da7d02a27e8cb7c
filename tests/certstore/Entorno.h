// A folder of the test's own with a temporary folder in it, keys made by the real openssl, and a stand-in for it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "certstore/LxCertStore.h"
#include "tests/apoyo/Apoyo.h"

class Entorno : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Runs a shell command in the test's folder; it must succeed.
    static void Orden(const std::string& orden);
    // Makes NAME.key and NAME.crt (CN=`nombre`); `tipo` is what openssl's -newkey takes.
    static void CrearIdentidad(const std::string& nombre, const std::string& tipo = "rsa:2048");
    // Packs an identity, made if need be, into the file `ruta` with this password; `opciones` go to openssl.
    static void CrearPfx(const std::string& ruta, const std::string& nombre, const std::string& clave,
                         const std::string& opciones = "");
    // Packs parts of such files, 0 its certificates and 1 its keys, into a new one in this order.
    static void JuntarPfx(const std::string& ruta, const std::vector<std::pair<std::string, size_t>>& partes,
                          const std::string& clave);
    // Puts a shell script first in PATH under the name openssl, for programs that are started. In it, "$REAL" is the
    // real one.
    void PonerOpenssl(const std::string& guion) const;

    // File names in a folder, sorted.
    [[nodiscard]] static std::vector<std::string> Nombres(const std::filesystem::path& carpeta);
    [[nodiscard]] static Lx::X509::Certificado LeerCertificado(const std::string& nombre);

    static std::filesystem::path base;  // removed with the test
    static std::filesystem::path temp;

  private:
    std::optional<Apoyo::CarpetaTemporal> carpeta_;
    std::string path_;
};
