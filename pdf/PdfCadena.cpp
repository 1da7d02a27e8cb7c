#include "pdf/PdfCadena.h"

#include <algorithm>
#include <set>

#include "pdf/LxActualizacion.h"
#include "pdf/LxSintaxis.h"
#include "pdf/PdfAlmacen.h"

namespace LxPdf {

namespace {

constexpr size_t kSeccionesMaximas = 4096;
constexpr size_t kLinea = 128;  // more than an entry of a table takes
constexpr size_t kTrozo = 64U << 10;
constexpr size_t kEntradasMinimas = 250'000;
constexpr uint64_t kSinGeneracion = 65535;

bool EsDigito(char c) {
    return c >= '0' && c <= '9';
}

// What one section says of one number.
struct Dicho {
    uint64_t pos = 0;
    uint32_t num = 0;
    uint16_t gen = 0;
    Tipo tipo = Tipo::Ninguna;
};

// A whole number that isn't negative, alone: 123.0 and 123 0 R are none.
bool EnteroSolo(std::string_view valor, uint64_t& n) {
    size_t pos = 0;
    long leido = 0;
    if (valor.empty() || !EsDigito(valor.front()) || !LeerEntero(valor, pos, leido) || pos != valor.size())
        return false;
    n = static_cast<uint64_t>(leido);
    return true;
}

// Words of a table, read through a window that moves on.
class Palabras {
  public:
    Palabras(Ventana& ventana, uint64_t pos) : ventana_(ventana), pos_(pos) { Mirar(); }

    [[nodiscard]] uint64_t Pos() const { return pos_ + p_; }
    // Past white space and comments.
    [[nodiscard]] std::string_view Siguiente() {
        for (;;) {
            p_ = Blanco(texto_, p_);
            if (texto_.size() - p_ >= kLinea || !Seguir()) break;
        }
        const size_t ini = p_;
        while (p_ < texto_.size() && !EsDelim(texto_[p_])) ++p_;
        if (p_ == ini && p_ < texto_.size()) ++p_;
        return texto_.substr(ini, p_ - ini);
    }
    void Saltar(size_t n) { p_ += n; }
    void Volver(std::string_view palabra) { p_ -= palabra.size(); }

  private:
    void Mirar() { texto_ = ventana_.Ver(pos_, kTrozo); }
    // More of the file from here on; false when there is no more.
    bool Seguir() {
        if (p_ == 0 || ventana_.HastaElFinal(pos_, texto_)) return false;
        pos_ += p_;
        p_ = 0;
        Mirar();
        return !texto_.empty();
    }

    Ventana& ventana_;
    uint64_t pos_;
    size_t p_ = 0;
    std::string_view texto_;
};

bool Numero(std::string_view palabra, uint64_t& n) {
    if (palabra.empty() || palabra.size() > 18) return false;
    n = 0;
    for (const char c : palabra) {
        if (!EsDigito(c)) return false;
        n = n * 10 + static_cast<uint64_t>(c - '0');
    }
    return true;
}

class Lector {
  public:
    Lector(const Fuente& fuente, uint64_t base, Cadena& cadena, Fallo& fallo)
        : fuente_(fuente), base_(base), cadena_(cadena), fallo_(fallo), ventana_(fuente) {}

    Desenlace Leer(uint64_t inicio);

  private:
    Desenlace Abrir(uint64_t pos, SeccionLeida& seccion);
    bool Tabla(uint64_t pos, SeccionLeida& seccion);
    bool Subsecciones(Palabras& palabras);
    Desenlace Flujo(uint64_t pos, SeccionLeida& seccion);
    bool Entradas(std::string_view dict, std::string_view indice, std::string_view datos);
    bool Poner(uint64_t num, Dicho dicho, uint64_t gen);
    void CorregirPrimera();
    void Anotar(bool tabla, bool hibrido);
    [[nodiscard]] Desenlace Imposible(Defecto defecto, std::string nombre = {}) {
        fallo_ = {defecto, 0, std::move(nombre)};
        return Desenlace::Imposible;
    }

    const Fuente& fuente_;
    uint64_t base_;
    Cadena& cadena_;
    Fallo& fallo_;
    Ventana ventana_;
    std::vector<Dicho> dichos_;  // of the section that is being read
    bool desdeUno_ = false;      // its first subsection starts at 1, with the entry that belongs to 0
    bool demasiadas_ = false;    // more entries than are read
    size_t primeros_ = 0;        // entries of that subsection
    uint16_t serie_ = 0;
};

// --- Tables

bool Lector::Subsecciones(Palabras& palabras) {
    for (bool primera = true;; primera = false) {
        const std::string_view palabra = palabras.Siguiente();
        if (palabra.starts_with("trailer")) {
            palabras.Volver(palabra);
            palabras.Saltar(7);
            return true;
        }
        uint64_t desde = 0;
        uint64_t cuantos = 0;
        if (!Numero(palabra, desde) || !Numero(palabras.Siguiente(), cuantos)) return false;
        for (uint64_t i = 0; i < cuantos; ++i) {
            Dicho d;
            uint64_t gen = 0;
            if (!Numero(palabras.Siguiente(), d.pos) || !Numero(palabras.Siguiente(), gen)) return false;
            const std::string_view letra = palabras.Siguiente();
            if (letra != "n" && letra != "f") return false;
            if (primera && i == 0 && desde == 1 && letra == "f" && gen == kSinGeneracion) desdeUno_ = true;
            d.tipo = letra == "f" || d.pos == 0 ? Tipo::Libre : Tipo::Suelta;
            if (!Poner(desde + i, d, gen)) return false;
        }
        if (primera) primeros_ = dichos_.size();
    }
}

// False on what no section may say, or when it says more than any document of this size has to.
bool Lector::Poner(uint64_t num, Dicho dicho, uint64_t gen) {
    if (num > kNumeroMaximo) {
        if (dicho.tipo != Tipo::Libre) cadena_.numerosEnormes = true;
        return true;
    }
    if (dicho.tipo == Tipo::Suelta && gen > kSinGeneracion) return false;
    if (dichos_.size() >= kEntradasMinimas + fuente_.Longitud() / 4) {
        demasiadas_ = true;
        return false;
    }
    dicho.num = static_cast<uint32_t>(num);
    dicho.gen = static_cast<uint16_t>(std::min(gen, kSinGeneracion));
    dichos_.push_back(dicho);
    return true;
}

// A first subsection that should have begun at 0: its entries are one off when the headers say so.
void Lector::CorregirPrimera() {
    if (!desdeUno_) return;
    for (size_t i = 0; i < primeros_; ++i) {
        const Dicho& d = dichos_[i];
        if (d.tipo != Tipo::Suelta) continue;
        Crudo crudo;
        uint64_t cuerpo = 0;
        if (!LeerCabecera(ventana_, base_ + d.pos, crudo, cuerpo) || crudo.num + 1 != d.num) return;
        break;
    }
    for (size_t i = 0; i < primeros_; ++i) --dichos_[i].num;
}

bool Lector::Tabla(uint64_t pos, SeccionLeida& seccion) {
    Palabras palabras(ventana_, pos + 4);
    if (!Subsecciones(palabras)) return false;
    const uint64_t tras = palabras.Pos();
    for (size_t n = kTrozo; n <= kTopeValor; n *= 8) {
        const std::string_view texto = ventana_.Ver(tras, n);
        const size_t fin = FinLiteral(texto, 0);
        if (fin + 2 > texto.size() && !ventana_.HastaElFinal(tras, texto)) continue;
        std::string_view dict;
        if (!Interior(texto.substr(0, fin), dict)) return false;
        seccion.trailer = dict;
        CorregirPrimera();
        return true;
    }
    return false;
}

// --- Streams

// The dictionary without the value of /Index, which may be long and is looked at once.
std::string SinIndice(std::string_view dict, std::string& indice) {
    Claves claves(dict);
    std::string resto;
    size_t hasta = 0;
    for (Clave c; claves.Siguiente(c);) {
        if (c.nombre != "Index") continue;
        indice = QuitarBlancos(dict.substr(c.ini, c.fin - c.ini));
        resto.append(dict.substr(hasta, c.ini - c.nombre.size() - 1 - hasta));
        hasta = c.fin;
    }
    return resto.append(dict.substr(hasta));
}

bool Lector::Entradas(std::string_view dict, std::string_view indice, std::string_view datos) {
    std::string_view anchos;
    long w[3] = {};
    if (!Elementos(UltimoValor(dict, "W"), anchos)) return false;
    size_t p = 0;
    for (long& ancho : w)
        if (!LeerEntero(anchos, p, ancho) || ancho < 0 || ancho > 8) return false;
    const auto largo = static_cast<size_t>(w[0] + w[1] + w[2]);
    if (largo == 0) return false;  // further widths are ignored by all
    uint64_t tamano = 0;
    if (!EnteroSolo(UltimoValor(dict, "Size"), tamano)) return false;
    const std::string porDefecto = "0 " + std::to_string(tamano);
    if (indice.empty() || indice == "null") {
        indice = porDefecto;
    } else if (!Elementos(indice, indice)) {
        return false;
    }
    size_t leidos = 0;
    for (size_t i = Blanco(indice, 0); i < indice.size(); i = Blanco(indice, i)) {
        long desde = 0;
        long cuantos = 0;
        if (!LeerEntero(indice, i, desde) || !LeerEntero(indice, i, cuantos) || desde < 0 || cuantos < 0) return false;
        if (static_cast<size_t>(cuantos) > (datos.size() - leidos) / largo) return false;
        for (long k = 0; k < cuantos; ++k) {
            uint64_t campos[3] = {1, 0, 0};
            for (int c = 0; c < 3; ++c) {
                if (w[c] > 0) campos[c] = 0;
                for (long b = 0; b < w[c]; ++b)
                    campos[c] = campos[c] << 8 | static_cast<unsigned char>(datos[leidos++]);
            }
            Dicho d;
            d.pos = campos[1];
            uint64_t gen = campos[2];
            if (campos[0] == 0 || (campos[0] == 1 && d.pos == 0)) {
                d.tipo = Tipo::Libre;
            } else if (campos[0] == 1) {
                d.tipo = Tipo::Suelta;
            } else if (campos[0] == 2) {
                d.tipo = Tipo::EnFlujo;
                if (campos[1] > kNumeroMaximo || campos[2] > UINT32_MAX) return false;
                d.pos = campos[1] << 32 | campos[2];
                gen = 0;
            } else {
                d.tipo = Tipo::Ajena;
            }
            if (!Poner(static_cast<uint64_t>(desde) + static_cast<uint64_t>(k), d, gen)) return false;
        }
    }
    return true;
}

Desenlace Lector::Flujo(uint64_t pos, SeccionLeida& seccion) {
    Crudo crudo;
    std::string_view dict;
    uint64_t largo = 0;
    if (!LeerCrudo(ventana_, pos, crudo) || !crudo.flujo || crudo.sinLinea || !Interior(crudo.valor, dict)) {
        return Desenlace::Rota;
    }
    std::string indice;
    seccion.clase = Seccion::Flujo;
    seccion.trailer = SinIndice(dict, indice);
    const std::string valor = Envolver(seccion.trailer);
    crudo.valor = valor;
    dict = seccion.trailer;
    if (UltimoValor(dict, "Type") != "/XRef" || !EnteroSolo(UltimoValor(dict, "Length"), largo)) return Desenlace::Rota;
    if (!AcabaFlujo(ventana_, crudo.datos, largo)) return Desenlace::Rota;
    std::string datos;
    std::string filtro;
    switch (LeerFlujo(fuente_, crudo, largo, datos, filtro)) {
        case Decodificado::Malo:
            return Desenlace::Rota;
        case Decodificado::Ajeno:
            return Imposible(Defecto::Filtro, filtro);
        case Decodificado::Excesivo:
            return Imposible(Defecto::Excesivo);
        case Decodificado::Bien:
            break;
    }
    return Entradas(seccion.trailer, indice, datos) ? Desenlace::Bien : Desenlace::Rota;
}

// --- The chain

// Takes over what the section says of numbers that no newer one has spoken of.
void Lector::Anotar(bool tabla, bool hibrido) {
    for (const Dicho& d : dichos_) {
        Entrada& e = cadena_.mapa.Poner(d.num);
        if (e.tipo != Tipo::Ninguna) {
            if (e.serie != serie_) continue;
            if (hibrido && e.deTabla) {
                if (e.tipo != Tipo::Libre || (d.tipo != Tipo::Suelta && d.tipo != Tipo::EnFlujo)) continue;
                // Hidden from old readers only when an older section freed it; here both stand in one.
                e.hibrida = true;
            } else {
                if (d.tipo == Tipo::Suelta && (e.tipo != Tipo::Suelta || e.pos != d.pos)) {
                    e.repetida = true;
                    cadena_.repetidos.emplace_back(d.num, base_ + d.pos);
                } else if (d.tipo != e.tipo || d.pos != e.pos) {
                    e.repetida = true;
                    cadena_.repetidos.emplace_back(d.num, UINT64_MAX);
                }
                continue;
            }
        }
        e.tipo = d.tipo;
        e.pos = d.pos & kPosMaxima;
        e.gen = d.gen;
        e.serie = serie_;
        e.deTabla = tabla;
    }
}

Desenlace Lector::Abrir(uint64_t pos, SeccionLeida& seccion) {
    dichos_.clear();
    desdeUno_ = false;
    const std::string_view texto = ventana_.Ver(pos, 64);
    size_t p = 0;
    while (p < texto.size() && EsBlanco(texto[p])) ++p;
    seccion.inicio = pos + p;
    if (texto.substr(p, 4) == "xref") return Tabla(seccion.inicio, seccion) ? Desenlace::Bien : Desenlace::Rota;
    return Flujo(seccion.inicio, seccion);
}

Desenlace Lector::Leer(uint64_t inicio) {
    std::set<uint64_t> vistas;
    for (uint64_t siguiente = inicio;;) {
        if (siguiente > fuente_.Longitud() || base_ + siguiente >= fuente_.Longitud()) return Desenlace::Rota;
        if (!vistas.insert(siguiente).second) return Desenlace::Rota;
        if (vistas.size() > kSeccionesMaximas) return Imposible(Defecto::Excesivo);
        SeccionLeida seccion;
        ++serie_;
        Desenlace r = Abrir(base_ + siguiente, seccion);
        if (demasiadas_) return Imposible(Defecto::Excesivo);
        if (r != Desenlace::Bien) return r;
        const std::string_view cifrado = UltimoValor(seccion.trailer, "Encrypt");
        if (!cifrado.empty() && cifrado != "null") return Imposible(Defecto::Cifrado);
        Anotar(seccion.clase != Seccion::Flujo, false);
        const std::string_view flujo = UltimoValor(seccion.trailer, "XRefStm");
        if (seccion.clase == Seccion::Tabla && !flujo.empty()) {
            SeccionLeida hibrida;
            uint64_t pos = 0;
            if (!EnteroSolo(flujo, pos) || pos >= fuente_.Longitud()) return Desenlace::Rota;
            seccion.clase = Seccion::Hibrida;
            dichos_.clear();
            desdeUno_ = false;
            r = Flujo(base_ + pos, hibrida);
            if (demasiadas_) return Imposible(Defecto::Excesivo);
            if (r != Desenlace::Bien) return r;
            Anotar(false, true);
        }
        cadena_.secciones.push_back(std::move(seccion));
        const std::string_view previo = UltimoValor(cadena_.secciones.back().trailer, "Prev");
        if (previo.empty()) return Desenlace::Bien;
        if (!EnteroSolo(previo, siguiente)) return Desenlace::Rota;
        if (siguiente == 0) return Desenlace::Bien;
    }
}

}  // namespace

Desenlace LeerCadena(const Fuente& fuente, uint64_t base, uint64_t inicio, Cadena& cadena, Fallo& fallo) {
    return Lector(fuente, base, cadena, fallo).Leer(inicio);
}

}  // namespace LxPdf
