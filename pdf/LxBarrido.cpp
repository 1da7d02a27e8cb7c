#include "pdf/LxBarrido.h"

#include <algorithm>
#include <set>
#include <utility>

#include "pdf/LxSintaxis.h"

namespace LxPdf {

namespace {

constexpr long kNumeroMaximo = 1L << 31;
constexpr int kNivelesPaginas = 32;
constexpr uint64_t kMargenFijo = 16U << 20;
// What ten digits of a cross-reference entry can say (ISO 32000-1, 7.5.4), with room for the update.
constexpr size_t kTamanoMaximo = 9'000'000'000;

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

bool Falla(Fallo& fallo, Defecto defecto) {
    fallo = {defecto, 0, {}};
    return false;
}

}  // namespace

Barrido::Barrido(std::string datos) : datos_(std::move(datos)), fuente_(AbrirMemoria(datos_)) {
    Buscar();
}

void Barrido::Buscar() {
    const std::string_view datos = datos_;
    margen_ = kMargenFijo + 4 * static_cast<uint64_t>(datos.size());
    if (datos.size() < 4) return;
    for (size_t pos = BuscarObj(datos, 0); pos < datos.size(); pos = BuscarObj(datos, pos + 3)) {
        size_t inicio = 0;
        if (!InicioCabecera(datos, pos, inicio)) continue;
        long num = 0;
        size_t lectura = inicio;
        if (!LeerEntero(datos, lectura, num) || num < 1 || num > kNumeroMaximo) continue;
        objetos_.insert_or_assign(objetos_.end(), num, inicio);
    }
}

bool Barrido::ValorEn(long num, std::string_view& valor) const {
    const auto it = objetos_.find(num);
    if (it == objetos_.end() || Agotado()) return false;
    const std::string_view datos = datos_;
    size_t pos = it->second;
    if (!SaltarCabecera(datos, pos)) return false;
    const size_t fin = FinLiteral(datos, pos);
    const uint64_t leido = fin - it->second;
    margen_ -= leido < margen_ ? leido : margen_;
    valor = datos.substr(pos, fin - pos);
    return true;
}

bool Barrido::DictEn(long num, std::string_view& dict) const {
    std::string_view valor;
    return ValorEn(num, valor) && Interior(valor, dict);
}

bool Barrido::ValorDe(Ref ref, std::string& valor) const {
    std::string_view vista;
    if (!ValorEn(ref.num, vista)) return false;
    valor = vista;
    return true;
}

bool Barrido::RefDe(std::string_view dict, std::string_view clave, Ref& ref) const {
    long num = 0;
    if (!LxPdf::RefDe(dict, clave, num) || num > UINT32_MAX) return false;
    ref = {static_cast<uint32_t>(num), 0};
    return true;
}

bool Barrido::Vigente(Ref ref) const {
    const auto it = objetos_.find(ref.num);
    return it == objetos_.end() || it->second >= frontera_;
}

bool LeerTrailer(std::string_view datos, size_t offset, std::string_view& dict) {
    size_t pos = Blanco(datos, offset);
    if (datos.substr(pos, 4) == "xref") {
        const size_t palabra = datos.find("trailer", pos);
        return palabra != std::string_view::npos && Interior(datos.substr(palabra + 7), dict);
    }
    long num = 0;
    size_t lectura = pos;
    return LeerEntero(datos, lectura, num) && num >= 1 && SaltarCabecera(datos, pos) &&
           Interior(datos.substr(pos), dict);
}

bool Barrido::Localizar(Fallo& fallo) {
    if (datos_.size() < 8 || !datos_.starts_with("%PDF-")) return Falla(fallo, Defecto::SinCabecera);
    const size_t palabra = datos_.rfind("startxref");
    if (palabra == std::string::npos) return Falla(fallo, Defecto::SinStartxref);
    size_t pos = palabra + 9;
    long offset = 0;
    if (!LeerEntero(datos_, pos, offset) || offset < 1 || static_cast<size_t>(offset) >= datos_.size()) {
        return Falla(fallo, Defecto::StartxrefFuera);
    }
    previo_ = static_cast<uint64_t>(offset);
    return true;
}

bool Barrido::LeerRaiz(Fallo& fallo) {
    if (!LeerTrailer(datos_, previo_, trailer_)) return Falla(fallo, Defecto::TrailerIlegible);
    if (!RefDe(trailer_, "Root", raiz_)) return Falla(fallo, Defecto::SinRaiz);
    size_t pos = 0;
    if (!LeerEntero(LxPdf::ValorDe(trailer_, "Size"), pos, tamano_) || tamano_ < 0 || tamano_ > kNumeroMaximo)
        tamano_ = 0;
    // The update's trailer has no /Encrypt: readers would take the encrypted strings and streams for plain ones.
    const std::string_view cifrado = LxPdf::ValorDe(trailer_, "Encrypt");
    if (!cifrado.empty() && cifrado != "null") return Falla(fallo, Defecto::Cifrado);
    if (datos_.size() > kTamanoMaximo) return Falla(fallo, Defecto::DemasiadoGrande);
    return true;
}

bool Barrido::LeerArbol(Fallo& fallo) {
    Buscar();
    std::string catalogo;
    Ref nodo;
    if (objetos_.empty()) return Falla(fallo, Defecto::SinObjetos);
    if (!DictDe(raiz_, catalogo)) return Falla(fallo, Defecto::CatalogoIlegible);
    if (!RefDe(catalogo, "Pages", nodo)) return Falla(fallo, Defecto::SinArbol);
    paginas_ = PaginasDesde(nodo.num);
    return !paginas_.empty() || Falla(fallo, Defecto::SinPaginas);
}

std::unique_ptr<Barrido> Barrido::Abrir(std::string datos, Fallo& fallo) {
    fallo = {};
    auto doc = std::unique_ptr<Barrido>(new Barrido);
    doc->datos_ = std::move(datos);
    doc->fuente_ = AbrirMemoria(doc->datos_);
    if (!doc->Localizar(fallo) || !doc->LeerRaiz(fallo) || !doc->LeerArbol(fallo)) return nullptr;
    return doc;
}

uint32_t Barrido::Siguiente() const {
    const long mayor = objetos_.empty() ? 0 : objetos_.rbegin()->first;
    return static_cast<uint32_t>(std::max(tamano_, mayor + 1));
}

std::vector<Ref> Barrido::PaginasDesde(long nodo) const {
    std::vector<Ref> paginas;
    std::set<long> vistos;
    std::vector<std::pair<long, int>> pendientes{{nodo, 0}};
    std::vector<std::pair<long, int>> hijos;
    while (!pendientes.empty()) {
        const auto [num, nivel] = pendientes.back();
        pendientes.pop_back();
        std::string_view dict;
        if (nivel > kNivelesPaginas || !vistos.insert(num).second || !DictEn(num, dict)) continue;
        if (LxPdf::ValorDe(dict, "Type") == "/Page") {
            paginas.push_back({static_cast<uint32_t>(num), 0});
            continue;
        }
        std::string lista;
        if (!ArrayDe(LxPdf::ValorDe(dict, "Kids"), lista)) continue;
        hijos.clear();
        std::string_view resto = lista;
        for (long hijo = 0, gen = 0; LeerReferencia(resto, hijo, gen, &resto);) hijos.emplace_back(hijo, nivel + 1);
        pendientes.insert(pendientes.end(), hijos.rbegin(), hijos.rend());
    }
    return paginas;
}

bool Barrido::LeerCampos(const std::vector<Ref>&, Campos& campos, Fallo& fallo) {
    struct Widget {
        uint32_t pagina;
        uint32_t padre;  // 0: the widget is a signature field itself
    };
    campos = {};
    std::set<uint32_t> firmas;
    std::vector<Widget> widgets;
    size_t ultimoFlujo = 0;
    for (const auto& [num, offset] : objetos_) {
        std::string_view dict;
        if (!DictEn(num, dict)) continue;
        const Rasgos rasgos = RasgosDe(dict);
        if (rasgos.flujo) ultimoFlujo = std::max(ultimoFlujo, offset);
        if (!rasgos.campo) continue;
        const bool esFirma = LxPdf::ValorDe(dict, "FT") == "/Sig";
        if (esFirma) {
            firmas.insert(static_cast<uint32_t>(num));
            campos.nombres.insert(NombreDe(LxPdf::ValorDe(dict, "T")));
        }
        Ref pagina;
        Ref padre;
        if (!RefDe(dict, "P", pagina)) continue;
        if (!esFirma && (LxPdf::ValorDe(dict, "Subtype") != "/Widget" || !RefDe(dict, "Parent", padre))) continue;
        if (TieneArea(dict)) widgets.push_back({pagina.num, padre.num});
    }
    for (const Widget& w : widgets) {
        if (w.padre == 0 || firmas.contains(w.padre)) ++campos.sellos[w.pagina];
    }
    // Here every field counts as a signature, signed or not.
    campos.firmados = campos.nombres.size();
    if (Agotado()) return Falla(fallo, Defecto::Solapados);
    const size_t fin = ultimoFlujo == 0 ? std::string::npos : datos_.rfind("%%EOF", ultimoFlujo);
    frontera_ = fin == std::string::npos ? 0 : fin;
    return true;
}

}  // namespace LxPdf
