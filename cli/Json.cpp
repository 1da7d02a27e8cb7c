#include "cli/Json.h"

#include <cstdio>

#include "cli/TextoTerminal.h"

namespace Cli::Json {

namespace {

void PonerEscape(std::string& salida, unsigned valor) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", valor);
    salida += escape;
}

}  // namespace

std::string Texto(std::string_view texto) {
    constexpr unsigned kByteSuelto = 0xDC00;
    std::string salida = "\"";
    for (size_t i = 0, n = 0; i < texto.size(); i += n) {
        char32_t c = 0;
        n = LeerUtf8(texto, i, c);
        const auto b = static_cast<unsigned char>(texto[i]);
        if (n == 1 && c == kSustituto) {
            PonerEscape(salida, kByteSuelto + b);
        } else if (b == '"' || b == '\\') {
            salida.append("\\").append(1, texto[i]);
        } else if (b < 0x20) {
            PonerEscape(salida, b);
        } else {
            salida += texto.substr(i, n);
        }
    }
    return salida + "\"";
}

Objeto& Objeto::Poner(std::string_view nombre, std::string_view valor) {
    if (!miembros_.empty()) miembros_ += ',';
    miembros_ += Texto(nombre);
    miembros_ += ':';
    miembros_ += valor;
    return *this;
}

Objeto& Objeto::PonerTexto(std::string_view nombre, std::string_view texto) {
    return Poner(nombre, std::string_view(Texto(texto)));
}

Objeto& Objeto::PonerNumero(std::string_view nombre, uint64_t numero) {
    return Poner(nombre, std::string_view(std::to_string(numero)));
}

Objeto& Objeto::PonerLogico(std::string_view nombre, bool valor) {
    return Poner(nombre, std::string_view(valor ? "true" : "false"));
}

std::string Lista(const std::vector<std::string>& valores) {
    std::string salida = "[";
    for (const std::string& v : valores) {
        if (salida.size() > 1) salida += ',';
        salida += v;
    }
    return salida + "]";
}

}  // namespace Cli::Json
