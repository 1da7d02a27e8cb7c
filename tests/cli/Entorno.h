// The program under test as a process: a folder of its own, an identity, documents, and nothing of the caller's
// session.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/apoyo/Apoyo.h"
#include "tests/cli/Terminal.h"

namespace PruebaCli {

using Nombres = std::vector<std::string>;

// A one-page document.
[[nodiscard]] const std::string& Pdf();

// The value of a Python expression over `d`, the JSON text's object, as printed; "no es JSON: …" when it is none.
[[nodiscard]] std::string DeJson(const std::string& json, const std::string& expresion);

// Whether a process shows the text in its arguments or its environment.
[[nodiscard]] bool LoMuestraAlgunProceso(const std::string& secreto);

class Cli : public testing::Test {
  protected:
    void SetUp() override;
    // No run may leave anything in the temporary places.
    void TearDown() override;

    // A shell script in the folder, without a terminal. In it $CLI is the program, $P12 the identity's file and $ID the
    // options that name it and its password. `entrada` is the standard input.
    Apoyo::Salida Guion(const std::string& guion, std::string_view entrada = {}) const;
    // Runs the program with these words of a shell; fails the test unless it ends with `codigo` and tells `dice`.
    Apoyo::Salida Correr(int codigo, const std::string& orden, const std::string& dice = "",
                         std::string_view entrada = {}) const;
    // A shell script on a terminal.
    [[nodiscard]] Terminal EnTerminal(const std::string& guion, unsigned short columnas = 80) const;
    // Puts a shell script named openssl first in PATH. In it $REAL is the real program.
    void PonerOpenssl(const std::string& guion);

    [[nodiscard]] std::string En(std::string_view nombre) const { return carpeta_ / nombre; }
    [[nodiscard]] std::string Leer(std::string_view nombre) const { return Apoyo::LeerFichero(En(nombre)); }
    void Escribir(std::string_view nombre, std::string_view datos) const { Apoyo::EscribirFichero(En(nombre), datos); }
    // A file that only its owner may read.
    void EscribirSecreto(std::string_view nombre, const std::string& secreto) const;
    // Names in the folder, hidden ones too, but not those that SetUp made.
    [[nodiscard]] Nombres Nuevos() const;

    // What starts a program in the folder with the environment of the runs; its arguments follow.
    [[nodiscard]] std::vector<std::string> Comando() const;

    const Apoyo::Identidad* identidad_ = &Apoyo::IdentidadComun();
    // Socket of the card service that the program finds; there is none unless a test starts one.
    std::string servicio_ = "/noexiste";

  private:
    Apoyo::CarpetaTemporal carpeta_;
    Apoyo::CarpetaTemporal temporales_;
    std::string camino_;
};

}  // namespace PruebaCli
