// Form fields and what signatures allow.
#include <algorithm>
#include <map>
#include <set>

#include "pdf/LxDocumento.h"
#include "pdf/LxSintaxis.h"
#include "pdf/PdfAlmacen.h"
#include "pdf/PdfPartes.h"

namespace LxPdf {

namespace {

constexpr int kNivelesCampos = 64;
constexpr int kPTodo = 3;
constexpr int kPPorDefecto = 2;

bool EsFirma(std::string_view tipo) {
    return tipo == "/Sig";
}

using Compartido = std::shared_ptr<const std::string>;

// Values looked up in a document. Many may lead to one large object, so that what they are in all is bounded.
class Consulta {
  public:
    explicit Consulta(const Documento& doc) : doc_(doc), margen_(MargenDe(doc.Bytes())) {}

    [[nodiscard]] std::string Resolver(std::string_view valor) { return Agotada() ? "" : Pagar(doc_.Resolver(valor)); }
    [[nodiscard]] std::string Valor(std::string_view dict, std::string_view clave) {
        return Resolver(UltimoValor(dict, clave));
    }
    [[nodiscard]] bool Dict(Ref ref, std::string& dict) {
        if (Agotada() || !doc_.DictDe(ref, dict)) return false;
        Gastar(dict.size());
        return true;
    }
    [[nodiscard]] bool Array(std::string_view valor, std::string& elementos) {
        if (Agotada() || !doc_.ArrayDe(valor, elementos)) return false;
        Gastar(elementos.size());
        return true;
    }
    void Gastar(size_t bytes) { margen_ -= std::min<uint64_t>(margen_, bytes); }
    [[nodiscard]] bool Agotada() const { return margen_ == 0; }

  private:
    std::string Pagar(std::string texto) {
        Gastar(texto.size());
        return texto;
    }

    const Documento& doc_;
    uint64_t margen_;
};

}  // namespace

// One walk over the field tree (ISO 32000-1, 12.7.3.1), with what fields inherit.
class RecorridoCampos {
  public:
    RecorridoCampos(const Documento& doc, Campos& campos, std::vector<CampoFirma>& firmas, std::vector<Ref>& widgets)
        : doc_(doc), consulta_(doc), campos_(campos), firmas_(firmas), widgets_(widgets) {}

    struct Heredado {
        std::string nombre;  // of the parents, qualified
        std::string tipo;
        Compartido valor;
        int nivel = 0;
    };
    void Lista(std::string_view valor, const Heredado& h);
    // Widgets that only pages know of, or that don't say on which page they are.
    void Pagina(Ref pagina);
    [[nodiscard]] bool Agotado() const { return consulta_.Agotada(); }

  private:
    void Campo(Ref ref, const Heredado& h);
    void Widget(Ref ref, std::string_view dict);
    void Valor(std::string_view texto, Compartido& valor);
    [[nodiscard]] bool TieneArea(std::string_view dict);
    [[nodiscard]] std::string TipoDe(std::string_view dict);
    template <class F>
    void ParaCadaRef(std::string_view valor, F f);

    const Documento& doc_;
    Consulta consulta_;
    Campos& campos_;
    std::vector<CampoFirma>& firmas_;
    std::vector<Ref>& widgets_;
    std::set<Ref> vistos_;
    std::map<std::string, Compartido, std::less<>> valores_;  // of /V by reference
    std::set<Ref> sinPagina_;                                 // visible signature widgets that don't name their page
};

template <class F>
void RecorridoCampos::ParaCadaRef(std::string_view valor, F f) {
    std::string dentro;
    if (!consulta_.Array(valor, dentro)) return;
    for (size_t pos = Blanco(dentro, 0); pos < dentro.size();) {
        const size_t fin = FinLiteral(dentro, pos);
        long num = 0;
        long gen = 0;
        const std::string_view elemento = std::string_view(dentro).substr(pos, fin - pos);
        if (LeerReferencia(elemento, num, gen) && num > 0 && num <= UINT32_MAX && gen >= 0 && gen <= UINT16_MAX) {
            f(Ref{static_cast<uint32_t>(num), static_cast<uint16_t>(gen)});
        }
        pos = Blanco(dentro, fin);
    }
}

bool RecorridoCampos::TieneArea(std::string_view dict) {
    const std::string rect = "/Rect " + consulta_.Valor(dict, "Rect");
    double v[4];
    return RectDe(rect, "Rect", v) && v[2] > v[0] && v[3] > v[1];
}

void RecorridoCampos::Widget(Ref ref, std::string_view dict) {
    if (consulta_.Valor(dict, "Subtype") != "/Widget") return;
    widgets_.push_back(ref);
    if (!TieneArea(dict)) return;
    Ref pagina;
    if (doc_.RefDe(dict, "P", pagina)) {
        ++campos_.sellos[pagina.num];
    } else {
        sinPagina_.insert(ref);
    }
}

// What /V says, unless that is nothing: a signature's inner text, null for any other value.
void RecorridoCampos::Valor(std::string_view texto, Compartido& valor) {
    long num = 0;
    long gen = 0;
    const bool referencia = LeerReferencia(texto, num, gen);
    if (const auto it = referencia ? valores_.find(texto) : valores_.end(); it != valores_.end()) {
        valor = it->second;
        return;
    }
    const std::string resuelto = consulta_.Resolver(texto);
    std::string_view dentro;
    if (resuelto.empty()) return;
    valor = Interior(resuelto, dentro) ? std::make_shared<const std::string>(dentro) : nullptr;
    if (referencia) valores_.emplace(texto, valor);
}

void RecorridoCampos::Campo(Ref ref, const Heredado& h) {
    std::string dict;
    if (h.nivel > kNivelesCampos || !vistos_.insert(ref).second || !consulta_.Dict(ref, dict)) return;
    const std::string parcial = Utf8DeCadena(consulta_.Valor(dict, "T"));
    Heredado propio{h.nombre, h.tipo, h.valor, h.nivel + 1};
    if (const std::string tipo = consulta_.Valor(dict, "FT"); !tipo.empty()) propio.tipo = tipo;
    Valor(UltimoValor(dict, "V"), propio.valor);
    if (!parcial.empty()) propio.nombre += (h.nombre.empty() ? "" : ".") + parcial;
    consulta_.Gastar(propio.nombre.size() + propio.tipo.size());
    const bool firma = EsFirma(propio.tipo);
    if (!parcial.empty() && (h.nivel == 0 || firma)) campos_.nombres.insert(parcial);
    if (firma) Widget(ref, dict);
    bool terminal = h.nivel == 0 || !parcial.empty();
    const std::string_view hijos = UltimoValor(dict, "Kids");
    ParaCadaRef(hijos, [&](Ref hijo) {
        std::string suyo;
        if (consulta_.Dict(hijo, suyo) && !UltimoValor(suyo, "T").empty()) terminal = false;
    });
    if (firma && terminal) {
        CampoFirma campo{ref, propio.nombre, propio.valor != nullptr, propio.valor, {}};
        std::string_view dentro;
        const std::string cerrojo = consulta_.Valor(dict, "Lock");
        if (Interior(cerrojo, dentro)) campo.cerrojo = dentro;
        if (campo.firmado) {
            ++campos_.firmados;
        } else {
            campos_.vacios.push_back(campo.nombre);
        }
        firmas_.push_back(std::move(campo));
    }
    Lista(hijos, propio);
}

void RecorridoCampos::Lista(std::string_view valor, const Heredado& h) {
    ParaCadaRef(valor, [&](Ref ref) { Campo(ref, h); });
}

// The field type of a widget that no form lists.
std::string RecorridoCampos::TipoDe(std::string_view dict) {
    std::string actual(dict);
    for (int i = 0; i < kNivelesCampos; ++i) {
        const std::string tipo = consulta_.Valor(actual, "FT");
        Ref padre;
        std::string siguiente;
        if (!tipo.empty() || !doc_.RefDe(actual, "Parent", padre) || !consulta_.Dict(padre, siguiente)) return tipo;
        actual.swap(siguiente);
    }
    return {};
}

void RecorridoCampos::Pagina(Ref pagina) {
    std::string dict;
    if (!consulta_.Dict(pagina, dict)) return;
    ParaCadaRef(UltimoValor(dict, "Annots"), [&](Ref ref) {
        if (sinPagina_.contains(ref)) {
            ++campos_.sellos[pagina.num];
            return;
        }
        std::string anotacion;
        if (vistos_.contains(ref) || !consulta_.Dict(ref, anotacion)) return;
        vistos_.insert(ref);
        if (consulta_.Valor(anotacion, "Subtype") != "/Widget" || !EsFirma(TipoDe(anotacion))) return;
        const std::string nombre = Utf8DeCadena(consulta_.Valor(anotacion, "T"));
        if (!nombre.empty()) campos_.nombres.insert(nombre);
        if (TieneArea(anotacion)) ++campos_.sellos[pagina.num];
    });
}

bool Documento::LeerCampos(const std::vector<Ref>& paginas, Campos& campos, Fallo& fallo) {
    campos = {};
    e_->firmas.clear();
    e_->widgets.clear();
    RecorridoCampos recorrido(*this, campos, e_->firmas, e_->widgets);
    const std::string formulario = Resolver(UltimoValor(e_->catalogo, "AcroForm"));
    std::string_view dict;
    if (Interior(formulario, dict)) {
        if (ClavesAmbiguas(dict)) {
            fallo = {Defecto::ClaveRepetida, e_->raiz.num, {}};
            return false;
        }
        recorrido.Lista(UltimoValor(dict, "Fields"), {});
    }
    std::set<Ref> unicas(paginas.begin(), paginas.end());
    for (const Ref pagina : unicas) recorrido.Pagina(pagina);
    if (recorrido.Agotado()) fallo = {Defecto::Excesivo, 0, {}};
    return !recorrido.Agotado();
}

const std::vector<CampoFirma>& Documento::Firmas() const {
    return e_->firmas;
}

const std::vector<Ref>& Documento::WidgetsDeFirma() const {
    return e_->widgets;
}

namespace {

// Gathers what each signature says; the strictest counts.
class LectorPermisos {
  public:
    LectorPermisos(const Documento& doc, Permisos& permisos) : consulta_(doc), permisos_(permisos) {}

    void Firma(std::string_view firma, const std::string& campo);
    void Cerrojo(std::string_view dict, const std::string& campo);
    void Nivel(std::string_view p, std::string_view firma, bool porDefecto);
    [[nodiscard]] Consulta& Mirar() { return consulta_; }

  private:
    Consulta consulta_;
    Permisos& permisos_;
};

// One /P: of DocMDP a missing one is 2, of a lock it says nothing.
void LectorPermisos::Nivel(std::string_view p, std::string_view firma, bool porDefecto) {
    if (p.empty() && !porDefecto) return;
    int nivel = kPPorDefecto;
    if (!p.empty()) {
        size_t pos = 0;
        long n = 0;
        if (LeerEntero(p, pos, n) && pos == p.size() && n >= 1 && n <= kPTodo) {
            nivel = static_cast<int>(n);
        } else {
            permisos_.fueraDeRango = true;
        }
    }
    if (permisos_.p != 0 && permisos_.p <= nivel) return;
    permisos_.p = nivel;
    permisos_.quien = Utf8DeCadena(consulta_.Valor(firma, "Name"));
    permisos_.cuando = Utf8DeCadena(consulta_.Valor(firma, "M"));
}

void LectorPermisos::Cerrojo(std::string_view dict, const std::string& campo) {
    Permisos::Cerrojo cerrojo;
    cerrojo.campo = campo;
    const std::string accion = consulta_.Valor(dict, "Action");
    if (accion != "/All" && accion != "/Include" && accion != "/Exclude") return;
    cerrojo.accion = accion.substr(1);
    std::string nombres;
    if (consulta_.Array(UltimoValor(dict, "Fields"), nombres)) {
        for (size_t pos = Blanco(nombres, 0); pos < nombres.size();) {
            const size_t fin = FinLiteral(nombres, pos);
            cerrojo.nombres.push_back(
                Utf8DeCadena(consulta_.Resolver(std::string_view(nombres).substr(pos, fin - pos))));
            pos = Blanco(nombres, fin);
        }
    }
    permisos_.cerrojos.push_back(std::move(cerrojo));
}

void LectorPermisos::Firma(std::string_view firma, const std::string& campo) {
    std::string lista;
    if (!consulta_.Array(UltimoValor(firma, "Reference"), lista)) return;
    for (size_t pos = Blanco(lista, 0); pos < lista.size();) {
        const size_t fin = FinLiteral(lista, pos);
        const std::string elemento = consulta_.Resolver(std::string_view(lista).substr(pos, fin - pos));
        pos = Blanco(lista, fin);
        std::string_view dict;
        if (!Interior(elemento, dict)) continue;
        const std::string metodo = consulta_.Valor(dict, "TransformMethod");
        const std::string valor = consulta_.Valor(dict, "TransformParams");
        std::string_view parametros;
        if (!Interior(valor, parametros)) parametros = {};
        const std::string p = consulta_.Valor(parametros, "P");
        if (metodo == "/DocMDP") Nivel(p, firma, true);
        if (metodo == "/UR3") permisos_.derechosDeUso = true;
        if (metodo != "/FieldMDP") continue;
        Cerrojo(parametros, campo);
        Nivel(p, firma, false);
    }
}

}  // namespace

Permisos Documento::LeerPermisos() const {
    Permisos permisos;
    LectorPermisos lector(*this, permisos);
    const std::string perms = Resolver(UltimoValor(e_->catalogo, "Perms"));
    std::string_view dict;
    if (Interior(perms, dict)) {
        const std::string firma = Resolver(UltimoValor(dict, "DocMDP"));
        std::string_view dentro;
        if (Interior(firma, dentro)) {
            lector.Firma(dentro, {});
            // Certified by name, with a signature that doesn't say how: as if /P were missing.
            if (permisos.p == 0) lector.Nivel({}, dentro, true);
        }
        const std::string derechos = Resolver(UltimoValor(dict, "UR3"));
        permisos.derechosDeUso = permisos.derechosDeUso || derechos.starts_with("<<");
    }
    std::set<const std::string*> leidas;
    for (const CampoFirma& campo : e_->firmas) {
        if (!campo.firmado) continue;
        if (leidas.insert(campo.valor.get()).second) lector.Firma(*campo.valor, campo.nombre);
        if (campo.cerrojo.empty()) continue;
        lector.Cerrojo(campo.cerrojo, campo.nombre);
        lector.Nivel(lector.Mirar().Valor(campo.cerrojo, "P"), *campo.valor, false);
    }
    permisos.excesivo = lector.Mirar().Agotada();
    const std::string formulario = Resolver(UltimoValor(e_->catalogo, "AcroForm"));
    permisos.xfaDinamico = UltimoValor(e_->catalogo, "NeedsRendering") == "true";
    if (Interior(formulario, dict) && !UltimoValor(dict, "XFA").empty()) {
        std::string campos;
        permisos.xfaDinamico |= ArrayDe(UltimoValor(dict, "Fields"), campos) && campos.empty();
    }
    return permisos;
}

}  // namespace LxPdf
