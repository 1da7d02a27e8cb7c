#include "pdf/LxSintaxis.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <vector>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace LxPdf {

namespace {

constexpr int kNivelesMaximos = 256;
constexpr int kEsArray = -1;

bool EsDigito(char c) {
    return c >= '0' && c <= '9';
}

// Position past the hex string that opens at `pos`.
size_t FinHex(std::string_view texto, size_t pos) {
    const size_t cierre = texto.find('>', pos);
    return cierre == std::string_view::npos ? texto.size() : cierre + 1;
}

// Position past the literal string that opens at `pos` (ISO 32000-1, 7.3.4.2).
size_t FinCadena(std::string_view texto, size_t pos) {
    int nivel = 0;
    for (; pos < texto.size(); ++pos) {
        const char c = texto[pos];
        if (c == '\\') {
            ++pos;
        } else if (c == '(') {
            ++nivel;
        } else if (c == ')' && --nivel == 0) {
            return pos + 1;
        }
    }
    return texto.size();
}

size_t FinPalabra(std::string_view texto, size_t pos) {
    while (pos < texto.size() && !EsDelim(texto[pos])) ++pos;
    return pos;
}

// Position past a bare token; a number that opens "N G R" takes the whole reference with it.
size_t FinToken(std::string_view texto, size_t pos) {
    const size_t fin = FinPalabra(texto, pos);
    if (fin == pos) return pos + 1;  // a stray delimiter
    if (!EsDigito(texto[pos])) return fin;
    size_t p = Blanco(texto, fin);
    const size_t generacion = p;
    while (p < texto.size() && EsDigito(texto[p])) ++p;
    if (p == generacion) return fin;
    p = Blanco(texto, p);
    if (p >= texto.size() || texto[p] != 'R') return fin;
    return p + 1 == texto.size() || EsDelim(texto[p + 1]) ? p + 1 : fin;
}

bool Empieza(std::string_view texto, size_t pos, std::string_view que) {
    return texto.substr(pos, que.size()) == que;
}

// The containers that are open while a value is skipped: for each a dictionary's depth, or kEsArray.
struct Pila {
    int niveles[kNivelesMaximos];
    int abiertos = 0;

    [[nodiscard]] bool Meter(int que) {
        if (abiertos == kNivelesMaximos) return false;
        niveles[abiertos++] = que;
        return true;
    }
    // Dictionaries inside dictionaries share one place.
    [[nodiscard]] bool AbrirDiccionario() {
        if (abiertos > 0 && niveles[abiertos - 1] != kEsArray) {
            ++niveles[abiertos - 1];
            return true;
        }
        return Meter(1);
    }
    // A ">" in an array closes nothing.
    void CerrarDiccionario() {
        if (--niveles[abiertos - 1] < 1) --abiertos;
    }
    [[nodiscard]] bool EnArray() const { return abiertos > 0 && niveles[abiertos - 1] == kEsArray; }
    [[nodiscard]] bool EnDiccionario() const { return abiertos > 0 && niveles[abiertos - 1] != kEsArray; }
};

// Skips one token, or opens or closes one container; false when the containers are too many.
bool Avanzar(std::string_view texto, size_t& pos, Pila& pila) {
    switch (texto[pos]) {
        case '<':
            if (!Empieza(texto, pos, "<<")) {
                pos = FinHex(texto, pos);
                return true;
            }
            pos += 2;
            return pila.AbrirDiccionario();
        case '>':
            pos += pila.EnDiccionario() && Empieza(texto, pos, ">>") ? 2 : 1;
            if (pila.EnDiccionario()) pila.CerrarDiccionario();
            return true;
        case '[':
            ++pos;
            return pila.Meter(kEsArray);
        case ']':
            ++pos;
            if (pila.EnArray()) --pila.abiertos;
            return true;
        case '(':
            pos = FinCadena(texto, pos);
            return true;
        case '/':
            pos = FinPalabra(texto, pos + 1);
            return true;
        default:
            pos = FinToken(texto, pos);
            return true;
    }
}

int CifraHex(char c) {
    if (EsDigito(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// A name with its #xx resolved; what isn't two digits stays.
std::string SinEscapes(std::string_view nombre) {
    std::string salida;
    for (size_t i = 0; i < nombre.size(); ++i) {
        const int alta = nombre[i] == '#' && i + 2 < nombre.size() ? CifraHex(nombre[i + 1]) : -1;
        const int baja = alta >= 0 ? CifraHex(nombre[i + 2]) : -1;
        if (baja < 0) {
            salida += nombre[i];
            continue;
        }
        salida += static_cast<char>(alta << 4 | baja);
        i += 2;
    }
    return salida;
}

// Escapes of characters that a name can hold as they are.
bool EscapesDeMas(std::string_view nombre) {
    for (size_t i = 0; i + 2 < nombre.size(); ++i) {
        if (nombre[i] != '#' || CifraHex(nombre[i + 1]) < 0 || CifraHex(nombre[i + 2]) < 0) continue;
        const int c = CifraHex(nombre[i + 1]) << 4 | CifraHex(nombre[i + 2]);
        if (c > 0x20 && c < 0x7F && c != '#' && !EsDelim(static_cast<char>(c))) return true;
    }
    return false;
}

// One escape of a literal string (ISO 32000-1, table 3) whose backslash stands before `pos`.
void LeerEscape(std::string_view texto, size_t& pos, std::string& bytes) {
    constexpr std::string_view kDe = "nrtbf";
    constexpr std::string_view kA = "\n\r\t\b\f";
    const char c = texto[pos++];
    if (c >= '0' && c <= '7') {
        int n = c - '0';
        for (int i = 0; i < 2 && pos < texto.size() && texto[pos] >= '0' && texto[pos] <= '7'; ++i) {
            n = n * 8 + (texto[pos++] - '0');
        }
        bytes += static_cast<char>(n & 0xFF);
    } else if (c == '\r' || c == '\n') {  // the line goes on
        if (c == '\r' && pos < texto.size() && texto[pos] == '\n') ++pos;
    } else {
        const size_t fila = kDe.find(c);
        bytes += fila == std::string_view::npos ? c : kA[fila];
    }
}

bool BytesDeLiteral(std::string_view texto, std::string& bytes) {
    int nivel = 0;
    for (size_t pos = 0; pos < texto.size();) {
        const char c = texto[pos++];
        if (c == '\\' && pos < texto.size()) {
            LeerEscape(texto, pos, bytes);
            continue;
        }
        if (c == '(' && nivel++ == 0) continue;
        if (c == ')' && --nivel == 0) return true;
        if (c != '\r') {
            bytes += c;
            continue;
        }
        // Every line end reads as one line feed.
        bytes += '\n';
        if (pos < texto.size() && texto[pos] == '\n') ++pos;
    }
    return false;
}

// PDFDocEncoding (ISO 32000-1, D.2) where it isn't Latin-1: 0x18 to 0x1F, then 0x80 to 0xA0.
constexpr char32_t kPdfDoc[] = {
    0x02D8, 0x02C7, 0x02C6, 0x02D9, 0x02DD, 0x02DB, 0x02DA, 0x02DC, 0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013,
    0x0192, 0x2044, 0x2039, 0x203A, 0x2212, 0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A, 0x2122, 0xFB01,
    0xFB02, 0x0141, 0x0152, 0x0160, 0x0178, 0x017D, 0x0131, 0x0142, 0x0153, 0x0161, 0x017E, 0xFFFD, 0x20AC,
};

void PonerUtf8(std::string& salida, char32_t punto) {
    const auto poner = [&](char32_t byte) { salida += static_cast<char>(byte); };
    const auto resto = [&](int bits) { poner(0x80 | (punto >> bits & 0x3F)); };
    if (punto < 0x80) {
        poner(punto);
    } else if (punto < 0x800) {
        poner(0xC0 | punto >> 6);
        resto(0);
    } else if (punto < 0x10000) {
        poner(0xE0 | punto >> 12);
        resto(6);
        resto(0);
    } else {
        poner(0xF0 | punto >> 18);
        resto(12);
        resto(6);
        resto(0);
    }
}

}  // namespace

size_t BlancoDesde(std::string_view texto, size_t pos) {
    while (pos < texto.size()) {
        if (texto[pos] == '%') {
            while (pos < texto.size() && texto[pos] != '\n' && texto[pos] != '\r') ++pos;
        } else if (EsBlanco(texto[pos])) {
            ++pos;
        } else {
            return pos;
        }
    }
    return texto.size();
}

std::string_view QuitarBlancos(std::string_view texto) {
    while (!texto.empty() && EsBlanco(texto.front())) texto.remove_prefix(1);
    while (!texto.empty() && EsBlanco(texto.back())) texto.remove_suffix(1);
    return texto;
}

size_t FinLiteral(std::string_view texto, size_t pos) {
    Pila pila;
    do {
        pos = Blanco(texto, pos);
        if (pos >= texto.size() || !Avanzar(texto, pos, pila)) return texto.size();
    } while (pila.abiertos > 0);
    return pos < texto.size() ? pos : texto.size();
}

bool Claves::Siguiente(Clave& clave) {
    while ((pos_ = Blanco(dict_, pos_)) < dict_.size()) {
        if (dict_[pos_] != '/') {
            pos_ = FinLiteral(dict_, pos_);
            continue;
        }
        clave.ini = FinPalabra(dict_, pos_ + 1);
        clave.nombre = dict_.substr(pos_ + 1, clave.ini - pos_ - 1);
        clave.fin = pos_ = FinLiteral(dict_, clave.ini);
        return true;
    }
    return false;
}

bool ValorClave(std::string_view dict, std::string_view clave, size_t& ini, size_t& fin) {
    Claves claves(dict);
    for (Clave c; claves.Siguiente(c);) {
        if (c.nombre != clave) continue;
        ini = c.ini;
        fin = c.fin;
        return fin > ini;
    }
    return false;
}

std::string_view ValorDe(std::string_view dict, std::string_view clave) {
    size_t ini = 0;
    size_t fin = 0;
    if (!ValorClave(dict, clave, ini, fin)) return {};
    ini = Blanco(dict, ini);
    return ini < fin ? QuitarBlancos(dict.substr(ini, fin - ini)) : std::string_view();
}

std::string_view UltimoValor(std::string_view dict, std::string_view clave) {
    Claves claves(dict);
    std::string_view valor;
    for (Clave c; claves.Siguiente(c);) {
        if (c.nombre != clave && (c.nombre.find('#') == std::string_view::npos || SinEscapes(c.nombre) != clave))
            continue;
        const size_t ini = Blanco(dict, c.ini);
        valor = ini < c.fin ? QuitarBlancos(dict.substr(ini, c.fin - ini)) : std::string_view();
    }
    return valor;
}

bool ClavesAmbiguas(std::string_view dict) {
    Claves claves(dict);
    std::vector<std::string_view> nombres;
    for (Clave c; claves.Siguiente(c);) {
        if (c.nombre.find('#') != std::string_view::npos && EscapesDeMas(c.nombre)) return true;
        nombres.push_back(c.nombre);
    }
    std::sort(nombres.begin(), nombres.end());
    return std::adjacent_find(nombres.begin(), nombres.end()) != nombres.end();
}

bool Interior(std::string_view texto, std::string_view& dict) {
    const size_t pos = Blanco(texto, 0);
    if (texto.substr(pos, 2) != "<<") return false;
    const size_t fin = FinLiteral(texto, pos);
    if (fin < pos + 4 || texto.substr(fin - 2, 2) != ">>") return false;
    dict = texto.substr(pos + 2, fin - pos - 4);
    return true;
}

bool Elementos(std::string_view texto, std::string_view& elementos) {
    texto = QuitarBlancos(texto.substr(std::min(Blanco(texto, 0), texto.size())));
    if (texto.size() < 2 || texto.front() != '[' || texto.back() != ']') return false;
    elementos = QuitarBlancos(texto.substr(1, texto.size() - 2));
    return true;
}

size_t SaltarOpaco(std::string_view texto, size_t pos) {
    switch (texto[pos]) {
        case '(':
            return FinCadena(texto, pos);
        case '<':
            return Empieza(texto, pos, "<<") ? pos + 2 : FinHex(texto, pos);
        case '%':
            return Blanco(texto, pos);
        case '/':
            return FinPalabra(texto, pos + 1);
        default:
            return EsDelim(texto[pos]) ? pos + 1 : FinPalabra(texto, pos);
    }
}

bool BytesDeCadena(std::string_view texto, std::string& bytes) {
    bytes.clear();
    if (texto.size() < 2) return false;
    if (texto.front() == '(') return BytesDeLiteral(texto, bytes);
    if (texto.front() != '<' || texto[1] == '<') return false;
    int cifras = 0;
    unsigned acumulado = 0;
    for (const char c : texto.substr(1)) {
        if (c == '>') break;
        const int cifra = CifraHex(c);
        if (cifra < 0) continue;
        acumulado = acumulado << 4 | static_cast<unsigned>(cifra);
        if (++cifras % 2 == 0) bytes += static_cast<char>(acumulado & 0xFF);
    }
    // A missing last digit is a 0.
    if (cifras % 2 != 0) bytes += static_cast<char>(acumulado << 4 & 0xFF);
    return true;
}

std::string Utf8DeCadena(std::string_view texto) {
    std::string bytes;
    if (!BytesDeCadena(texto, bytes)) return {};
    if (bytes.starts_with("\xEF\xBB\xBF")) return bytes.substr(3);
    std::string salida;
    if (bytes.starts_with("\xFE\xFF")) {
        const auto unidad = [&](size_t i) {
            return static_cast<char32_t>(static_cast<unsigned char>(bytes[i]) << 8 |
                                         static_cast<unsigned char>(bytes[i + 1]));
        };
        for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
            char32_t punto = unidad(i);
            if (punto >= 0xD800 && punto < 0xDC00 && i + 3 < bytes.size() && unidad(i + 2) >= 0xDC00 &&
                unidad(i + 2) < 0xE000) {
                punto = 0x10000 + ((punto - 0xD800) << 10) + (unidad(i + 2) - 0xDC00);
                i += 2;
            }
            PonerUtf8(salida, punto >= 0xD800 && punto < 0xE000 ? 0xFFFD : punto);
        }
        return salida;
    }
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        const bool fila = (byte >= 0x18 && byte < 0x20) || (byte >= 0x80 && byte <= 0xA0);
        PonerUtf8(salida, fila ? kPdfDoc[byte < 0x20 ? byte - 0x18 : byte - 0x80 + 8] : byte);
    }
    return salida;
}

size_t BuscarObj(std::string_view datos, size_t pos) {
#if defined(__SSE2__)
    const __m128i o = _mm_set1_epi8('o');
    const __m128i b = _mm_set1_epi8('b');
    const __m128i j = _mm_set1_epi8('j');
    for (; pos + 18 <= datos.size(); pos += 16) {
        const char* p = datos.data() + pos;
        const __m128i en0 = _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), o);
        const __m128i en1 = _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 1)), b);
        const __m128i en2 = _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 2)), j);
        const int hallados = _mm_movemask_epi8(_mm_and_si128(_mm_and_si128(en0, en1), en2));
        if (hallados != 0) return pos + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(hallados)));
    }
#endif
    const size_t hallado = datos.find("obj", pos);
    return hallado == std::string_view::npos ? datos.size() : hallado;
}

bool LeerEntero(std::string_view texto, size_t& pos, long& valor) {
    size_t p = Blanco(texto, pos);
    const bool negativo = p < texto.size() && texto[p] == '-';
    if (p < texto.size() && (texto[p] == '-' || texto[p] == '+')) ++p;
    const size_t cifras = p;
    long n = 0;
    for (; p < texto.size() && EsDigito(texto[p]); ++p) {
        const int cifra = texto[p] - '0';
        n = n > (LONG_MAX - cifra) / 10 ? LONG_MAX : n * 10 + cifra;
    }
    if (p == cifras) return false;
    pos = p;
    valor = negativo ? -n : n;
    return true;
}

bool LeerReferencia(std::string_view texto, long& num, long& gen, std::string_view* resto) {
    size_t pos = 0;
    if (!LeerEntero(texto, pos, num) || !LeerEntero(texto, pos, gen)) return false;
    pos = Blanco(texto, pos);
    if (pos >= texto.size() || texto[pos] != 'R') return false;
    if (pos + 1 < texto.size() && !EsDelim(texto[pos + 1])) return false;
    if (resto != nullptr) *resto = texto.substr(pos + 1);
    return true;
}

bool RefDe(std::string_view dict, std::string_view clave, long& num) {
    long gen = 0;
    return LeerReferencia(ValorDe(dict, clave), num, gen) && gen == 0 && num >= 1;
}

bool RectDe(std::string_view dict, std::string_view clave, double (&v)[4]) {
    const std::string_view texto = ValorDe(dict, clave);
    if (texto.empty() || texto.front() != '[') return false;
    size_t pos = 1;
    for (double& x : v) {
        pos = Blanco(texto, pos);
        if (pos < texto.size() && texto[pos] == '+') ++pos;
        const auto [fin, fallo] = std::from_chars(texto.data() + pos, texto.data() + texto.size(), x);
        if (fallo != std::errc()) return false;
        pos = static_cast<size_t>(fin - texto.data());
    }
    return true;
}

void Obj(std::string& salida, long num, std::string_view cuerpo) {
    salida += std::to_string(num);
    salida += " 0 obj\n";
    salida += cuerpo;
    salida += "\nendobj\n";
}

}  // namespace LxPdf
