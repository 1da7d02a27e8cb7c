// Writer of JSON texts (RFC 8259), as much as the program's answers need.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Cli::Json {

// A string literal with its quotes. A path need not be text: a byte 0xNN that is not UTF-8 is written \udcNN, a lone
// surrogate, from which a reader gets the byte back.
[[nodiscard]] std::string Texto(std::string_view texto);

// An object whose members keep their order. A value is a finished JSON text.
class Objeto {
  public:
    Objeto& Poner(std::string_view nombre, std::string_view valor);
    Objeto& Poner(std::string_view nombre, const char* valor) = delete;
    Objeto& PonerTexto(std::string_view nombre, std::string_view texto);
    Objeto& PonerNumero(std::string_view nombre, uint64_t numero);
    Objeto& PonerLogico(std::string_view nombre, bool valor);
    [[nodiscard]] std::string Cerrar() const { return "{" + miembros_ + "}"; }

  private:
    std::string miembros_;
};

[[nodiscard]] std::string Lista(const std::vector<std::string>& valores);

}  // namespace Cli::Json
