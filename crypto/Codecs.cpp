#include <array>

#include "crypto/LxApi.h"
#include "crypto/LxPem.h"

namespace Lx::Api {
namespace {

constexpr char kHex[] = "0123456789ABCDEF";
constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

using Inversa = std::array<signed char, 256>;

constexpr Inversa Invertir(const char* alfabeto, size_t letras) {
    Inversa tabla{};
    for (auto& valor : tabla) valor = -1;
    for (size_t i = 0; i < letras; ++i) tabla[static_cast<unsigned char>(alfabeto[i])] = static_cast<signed char>(i);
    return tabla;
}

constexpr Inversa InvertirHex() {
    Inversa tabla = Invertir(kHex, 16);
    for (size_t i = 0; i < 6; ++i) tabla['a' + i] = static_cast<signed char>(10 + i);
    return tabla;
}

constexpr Inversa kDeBase64 = Invertir(kBase64, 64);
constexpr Inversa kDeHex = InvertirHex();

int ValorHex(char c) {
    return kDeHex[static_cast<unsigned char>(c)];
}
int ValorBase64(char c) {
    return kDeBase64[static_cast<unsigned char>(c)];
}

bool EsLibreEnUrl(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

void PonerHex(std::string& texto, unsigned char byte) {
    texto.push_back(kHex[byte >> 4]);
    texto.push_back(kHex[byte & 0x0F]);
}

bool EsBlanco(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// One group of four characters; `ultimo` allows padding. `poner` gets each byte.
template <typename Poner>
bool DescifrarGrupo(const char* grupo, bool ultimo, Poner poner) {
    const int c0 = ValorBase64(grupo[0]);
    const int c1 = ValorBase64(grupo[1]);
    const int c2 = ValorBase64(grupo[2]);
    const int c3 = ValorBase64(grupo[3]);
    const bool relleno3 = grupo[3] == '=';
    const bool relleno2 = grupo[2] == '=';
    if (c0 < 0 || c1 < 0) return false;
    if ((relleno2 || relleno3) && !ultimo) return false;
    if (relleno2 ? !relleno3 : c2 < 0) return false;
    if (!relleno3 && c3 < 0) return false;
    poner(static_cast<char>((c0 << 2) | (c1 >> 4)));
    if (!relleno2) poner(static_cast<char>(((c1 & 0x0F) << 4) | (c2 >> 2)));
    if (!relleno3) poner(static_cast<char>(((c2 & 0x03) << 6) | c3));
    return true;
}

// All groups of a text of which `letras` characters aren't blanks; no more than four of them are ever copied.
template <typename Poner>
bool DescifrarGrupos(std::string_view texto, size_t letras, Poner poner) {
    std::array<char, 4> grupo{};
    size_t leidas = 0;
    for (const char c : texto) {
        if (EsBlanco(c)) continue;
        grupo[leidas % 4] = c;
        if (++leidas % 4 == 0 && !DescifrarGrupo(grupo.data(), leidas == letras, poner)) return false;
    }
    return true;
}

size_t Letras(std::string_view texto) {
    size_t letras = 0;
    for (const char c : texto) letras += EsBlanco(c) ? 0U : 1U;
    return letras;
}

}  // namespace

std::string BinToHex(const void* data, size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string texto;
    texto.reserve(size * 2);
    for (size_t i = 0; i < size; ++i) PonerHex(texto, bytes[i]);
    return texto;
}

std::vector<unsigned char> HexToBin(const std::string& text) {
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 2);
    int pendiente = -1;
    for (const char c : text) {
        if (c == ' ' || c == ':' || c == '_') continue;
        const int nibble = ValorHex(c);
        if (nibble < 0) return {};
        if (pendiente < 0) {
            pendiente = nibble;
            continue;
        }
        bytes.push_back(static_cast<unsigned char>((pendiente << 4) | nibble));
        pendiente = -1;
    }
    return bytes;
}

std::string Base64Encode(const void* data, size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string texto;
    texto.reserve((size + 2) / 3 * 4);
    for (size_t i = 0; i < size; i += 3) {
        const size_t quedan = size - i;
        const unsigned b0 = bytes[i];
        const unsigned b1 = quedan > 1 ? bytes[i + 1] : 0U;
        const unsigned b2 = quedan > 2 ? bytes[i + 2] : 0U;
        texto.push_back(kBase64[b0 >> 2]);
        texto.push_back(kBase64[((b0 & 0x03) << 4) | (b1 >> 4)]);
        texto.push_back(quedan > 1 ? kBase64[((b1 & 0x0F) << 2) | (b2 >> 6)] : '=');
        texto.push_back(quedan > 2 ? kBase64[b2 & 0x3F] : '=');
    }
    return texto;
}

std::string Base64Encode(const std::string& data) {
    return Base64Encode(data.data(), data.size());
}

bool Base64Decode(const std::string& text, std::string& out) {
    const size_t letras = Letras(text);
    if (letras % 4 != 0) return false;
    out.clear();
    out.reserve(letras / 4 * 3);
    return DescifrarGrupos(text, letras, [&out](char c) { out.push_back(c); });
}

bool Base64Decode(std::string_view text, BloqueSecreto& out) {
    const size_t letras = Letras(text);
    char* hueco = letras % 4 == 0 ? out.Hueco(letras / 4 * 3) : nullptr;
    if (hueco == nullptr) return false;
    size_t n = 0;
    const bool bien = DescifrarGrupos(text, letras, [hueco, &n](char c) { hueco[n++] = c; });
    if (bien) out.Crecer(n);
    return bien;
}

std::string UrlEncode(const std::string& text) {
    std::string url;
    url.reserve(text.size() * 3);
    for (const char c : text) {
        if (EsLibreEnUrl(c)) {
            url.push_back(c);
            continue;
        }
        url.push_back('%');
        PonerHex(url, static_cast<unsigned char>(c));
    }
    return url;
}

std::string UrlDecode(const std::string& text) {
    std::string claro;
    claro.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const bool cabe = text[i] == '%' && text.size() - i > 2;
        const int alto = cabe ? ValorHex(text[i + 1]) : -1;
        const int bajo = cabe ? ValorHex(text[i + 2]) : -1;
        if (alto >= 0 && bajo >= 0) {
            claro.push_back(static_cast<char>((alto << 4) | bajo));
            i += 2;
            continue;
        }
        claro.push_back(text[i] == '+' ? ' ' : text[i]);
    }
    return claro;
}

std::string ToLowerAscii(const std::string& text) {
    std::string minusculas = text;
    for (char& c : minusculas) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
    }
    return minusculas;
}

}  // namespace Lx::Api
