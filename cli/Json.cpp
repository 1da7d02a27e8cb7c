#include "cli/Json.h"

#include <cstdio>

#include "cli/Texto.h"

namespace Cli::Json {

std::string Texto(std::string_view texto) {
    std::string salida = "\"";
    for (const char c : Utf8Valido(texto)) {
        const auto b = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            salida += '\\';
            salida += c;
        } else if (b < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", b);
            salida += escape;
        } else {
            salida += c;
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
