#include "pdf/LxSintaxis.h"

#include <charconv>
#include <climits>

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

}  // namespace

size_t Blanco(std::string_view texto, size_t pos) {
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
