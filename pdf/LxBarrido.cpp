#include "pdf/LxBarrido.h"

#include <algorithm>
#include <utility>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "pdf/LxSintaxis.h"

namespace LxPdf {

namespace {

constexpr long kNumeroMaximo = 1L << 31;
constexpr int kNivelesPaginas = 32;
constexpr uint64_t kMargenFijo = 16U << 20;

// Offset of the next "obj" from `pos` on, the length when there is none. The scan of a large document is nothing but
// this.
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

size_t AtrasBlancos(std::string_view datos, size_t pos) {
    while (pos > 0 && EsBlanco(datos[pos - 1])) --pos;
    return pos;
}

size_t AtrasCifras(std::string_view datos, size_t pos) {
    while (pos > 0 && datos[pos - 1] >= '0' && datos[pos - 1] <= '9') --pos;
    return pos;
}

// Start of the header "N G obj" whose keyword stands at `obj`; false when no two numbers stand before it.
bool InicioCabecera(std::string_view datos, size_t obj, size_t& inicio) {
    const size_t finGeneracion = AtrasBlancos(datos, obj);
    const size_t generacion = AtrasCifras(datos, finGeneracion);
    if (generacion == finGeneracion) return false;
    const size_t finNumero = AtrasBlancos(datos, generacion);
    inicio = AtrasCifras(datos, finNumero);
    if (inicio == finNumero) return false;
    if (inicio == 0 || EsDelim(datos[inicio - 1])) return true;
    const std::string_view antes = datos.substr(0, inicio);
    return antes.ends_with("%%EOF") || antes.ends_with("endobj");
}

// Past the header "N G obj" at `pos`.
bool SaltarCabecera(std::string_view datos, size_t& pos) {
    long numero = 0;
    if (!LeerEntero(datos, pos, numero) || !LeerEntero(datos, pos, numero)) return false;
    pos = Blanco(datos, pos);
    if (datos.substr(pos, 3) != "obj") return false;
    pos = Blanco(datos, pos + 3);
    return true;
}

// Inner text of the dictionary that opens at `pos`; it must be closed.
bool Interior(std::string_view datos, size_t pos, std::string_view& dict) {
    if (datos.substr(pos, 2) != "<<") return false;
    const size_t fin = FinLiteral(datos, pos);
    if (fin < pos + 4 || datos.substr(fin - 2, 2) != ">>") return false;
    dict = datos.substr(pos + 2, fin - pos - 4);
    return true;
}

struct Arbol {
    std::string_view datos;
    const Mapa& mapa;
    std::set<long> vistos;
    std::vector<long> paginas;

    void Recorrer(long nodo, int nivel) {
        std::string_view dict;
        if (nivel > kNivelesPaginas || !vistos.insert(nodo).second || !DictDe(datos, mapa, nodo, dict)) return;
        if (ValorDe(dict, "Type") == "/Page") {
            paginas.push_back(nodo);
            return;
        }
        std::string_view hijos;
        if (!ArrayDe(datos, mapa, ValorDe(dict, "Kids"), hijos)) return;
        long hijo = 0;
        long gen = 0;
        while (LeerReferencia(hijos, hijo, gen, &hijos)) Recorrer(hijo, nivel + 1);
    }
};

// The text of a /T: a literal string without its parentheses and not unescaped, anything else as it stands.
std::string NombreDe(std::string_view t) {
    if (t.size() >= 2 && t.front() == '(' && t.back() == ')') t = t.substr(1, t.size() - 2);
    return std::string(t);
}

bool TieneArea(std::string_view dict) {
    double v[4];
    return RectDe(dict, "Rect", v) && v[2] > v[0] && v[3] > v[1];
}

struct Rasgos {
    bool campo = false;  // it has the keys that make a field or a widget; nearly every object of a document hasn't
    bool flujo = false;  // it is an object stream
};

Rasgos RasgosDe(std::string_view dict) {
    Rasgos rasgos;
    Claves claves(dict);
    for (Clave c; claves.Siguiente(c);) {
        if (c.nombre == "FT" || c.nombre == "Parent") rasgos.campo = true;
        if (c.nombre == "Type" && dict.substr(c.ini, c.fin - c.ini).ends_with("/ObjStm")) rasgos.flujo = true;
    }
    return rasgos;
}

}  // namespace

Mapa BarridoObjetos(std::string_view datos) {
    Mapa mapa;
    mapa.margen = kMargenFijo + 4 * static_cast<uint64_t>(datos.size());
    if (datos.size() < 4) return mapa;
    for (size_t pos = BuscarObj(datos, 0); pos < datos.size(); pos = BuscarObj(datos, pos + 3)) {
        size_t inicio = 0;
        if (!InicioCabecera(datos, pos, inicio)) continue;
        long num = 0;
        size_t lectura = inicio;
        if (!LeerEntero(datos, lectura, num) || num < 1 || num > kNumeroMaximo) continue;
        mapa.objetos.insert_or_assign(mapa.objetos.end(), num, inicio);
    }
    return mapa;
}

bool ValorObjeto(std::string_view datos, const Mapa& mapa, long num, std::string_view& valor) {
    const auto it = mapa.objetos.find(num);
    if (it == mapa.objetos.end() || mapa.Agotado()) return false;
    size_t pos = it->second;
    if (!SaltarCabecera(datos, pos)) return false;
    const size_t fin = FinLiteral(datos, pos);
    const uint64_t leido = fin - it->second;
    mapa.margen -= leido < mapa.margen ? leido : mapa.margen;
    valor = datos.substr(pos, fin - pos);
    return true;
}

bool DictDe(std::string_view datos, const Mapa& mapa, long num, std::string_view& dict) {
    std::string_view valor;
    return ValorObjeto(datos, mapa, num, valor) && Interior(valor, 0, dict);
}

bool LeerTrailer(std::string_view datos, size_t offset, std::string_view& dict) {
    size_t pos = Blanco(datos, offset);
    if (datos.substr(pos, 4) == "xref") {
        const size_t palabra = datos.find("trailer", pos);
        return palabra != std::string_view::npos && Interior(datos, Blanco(datos, palabra + 7), dict);
    }
    long num = 0;
    size_t lectura = pos;
    return LeerEntero(datos, lectura, num) && num >= 1 && SaltarCabecera(datos, pos) && Interior(datos, pos, dict);
}

bool ArrayDe(std::string_view datos, const Mapa& mapa, std::string_view valor, std::string_view& elementos) {
    long num = 0;
    long gen = 0;
    if (LeerReferencia(valor, num, gen) && !ValorObjeto(datos, mapa, num, valor)) return false;
    valor = QuitarBlancos(valor);
    if (valor.size() < 2 || valor.front() != '[' || valor.back() != ']') return false;
    elementos = QuitarBlancos(valor.substr(1, valor.size() - 2));
    return true;
}

std::vector<long> BuscarTodasPaginas(std::string_view datos, const Mapa& mapa, long nodo) {
    Arbol arbol{datos, mapa, {}, {}};
    arbol.Recorrer(nodo, 0);
    return std::move(arbol.paginas);
}

Campos CamposFirma(std::string_view datos, const Mapa& mapa) {
    struct Widget {
        long pagina;
        long padre;  // 0: the widget is a signature field itself
    };
    Campos campos;
    std::set<long> firmas;
    std::vector<Widget> widgets;
    for (const auto& [num, offset] : mapa.objetos) {
        std::string_view dict;
        if (!DictDe(datos, mapa, num, dict)) continue;
        const Rasgos rasgos = RasgosDe(dict);
        if (rasgos.flujo) campos.ultimoFlujo = std::max(campos.ultimoFlujo, offset);
        if (!rasgos.campo) continue;
        const bool esFirma = ValorDe(dict, "FT") == "/Sig";
        if (esFirma) {
            firmas.insert(num);
            campos.nombres.insert(NombreDe(ValorDe(dict, "T")));
        }
        long pagina = 0;
        long padre = 0;
        if (!RefDe(dict, "P", pagina)) continue;
        if (!esFirma && (ValorDe(dict, "Subtype") != "/Widget" || !RefDe(dict, "Parent", padre))) continue;
        if (TieneArea(dict)) widgets.push_back({pagina, padre});
    }
    for (const Widget& w : widgets) {
        if (w.padre == 0 || firmas.contains(w.padre)) ++campos.sellos[w.pagina];
    }
    return campos;
}

std::string NombreCampoLibre(const std::set<std::string>& nombres) {
    for (int n = 1;; ++n) {
        std::string nombre = "Signature" + std::to_string(n);
        if (!nombres.contains(nombre)) return nombre;
    }
}

}  // namespace LxPdf
