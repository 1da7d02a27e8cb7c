#include "signer/Motor.h"

#include <algorithm>
#include <utility>

#include "crypto/LxApi.h"
#include "signer/PdfActualizacion.h"
#include "pdf/LxBarrido.h"
#include "signer/PdfFichero.h"
#include "pdf/LxSintaxis.h"

namespace LxPdfSigner::Interno {

using namespace LxPdf;

namespace {

constexpr long kNumeroMaximo = 1L << 31;
// What ten digits of a cross-reference entry can say (ISO 32000-1, 7.5.4), with room for the update.
constexpr size_t kTamanoMaximo = 9'000'000'000;

bool Fallo(std::string& error, std::string frase) {
    error = std::move(frase);
    return false;
}

// The document as it was read. The views point into `datos`, which doesn't change any more; the digestor is declared
// after it because it must go first.
struct Documento {
    std::string datos;
    Digestor digestor;
    size_t previo = 0;  // offset of the last cross-reference section
    std::string_view trailer;
    long raiz = 0;
    long tamano = 0;  // /Size of the trailer
    Mapa mapa;
    std::string_view catalogo;
    std::vector<long> paginas;
    Campos campos;
};

enum class TipoAcroForm { Ausente, Referencia, EnLinea };

// What the update will hold and under which numbers.
struct Plan {
    std::vector<long> paginas;  // page objects that get a stamp; none for an invisible signature
    std::string nombreCampo;
    TipoAcroForm tipo = TipoAcroForm::Ausente;
    long acroForm = 0;  // its object, or the number for a new one
    long campo = 0;
    long primerHijo = 0;  // widgets of two or more stamp pages are numbered on from here
    long fuente = 0;
    long apariencia = 0;
    long firma = 0;
    Sello sello;

    [[nodiscard]] bool Varias() const { return paginas.size() >= 2; }
};

bool LocalizarXref(Documento& doc, const std::string& entrada, std::string& error) {
    if (doc.datos.size() < 8 || !doc.datos.starts_with("%PDF-")) return Fallo(error, entrada + " no es un PDF.");
    const size_t palabra = doc.datos.rfind("startxref");
    if (palabra == std::string::npos) return Fallo(error, "el PDF no tiene 'startxref': no es un PDF valido.");
    size_t pos = palabra + 9;
    long offset = 0;
    if (!LeerEntero(doc.datos, pos, offset) || offset < 1 || static_cast<size_t>(offset) >= doc.datos.size()) {
        return Fallo(error, "el 'startxref' del PDF apunta fuera del fichero.");
    }
    doc.previo = static_cast<size_t>(offset);
    return true;
}

bool LeerRaiz(Documento& doc, std::string& error) {
    if (!LeerTrailer(doc.datos, doc.previo, doc.trailer)) {
        return Fallo(error, "no se pudo leer el trailer del PDF (xref ilegible).");
    }
    if (!RefDe(doc.trailer, "Root", doc.raiz)) return Fallo(error, "el trailer del PDF no tiene /Root.");
    size_t pos = 0;
    if (!LeerEntero(ValorDe(doc.trailer, "Size"), pos, doc.tamano) || doc.tamano < 0 || doc.tamano > kNumeroMaximo) {
        doc.tamano = 0;
    }
    // The update's trailer has no /Encrypt: readers would take the encrypted strings and streams for plain ones.
    const std::string_view cifrado = ValorDe(doc.trailer, "Encrypt");
    if (!cifrado.empty() && cifrado != "null") {
        return Fallo(error, "el PDF esta cifrado: este motor no firma documentos protegidos.");
    }
    return true;
}

bool LeerArbol(Documento& doc, std::string& error) {
    doc.mapa = BarridoObjetos(doc.datos);
    if (doc.mapa.objetos.empty()) {
        return Fallo(error, "el PDF no contiene objetos legibles (probablemente todo el arbol esta en un ObjStm).");
    }
    if (!DictDe(doc.datos, doc.mapa, doc.raiz, doc.catalogo)) {
        return Fallo(error, "el catalogo del PDF no es un diccionario legible.");
    }
    long nodo = 0;
    if (!RefDe(doc.catalogo, "Pages", nodo)) return Fallo(error, "el catalogo no apunta a /Pages por referencia.");
    doc.paginas = BuscarTodasPaginas(doc.datos, doc.mapa, nodo);
    if (doc.paginas.empty()) return Fallo(error, "no se localizo ninguna pagina en el arbol del PDF.");
    return true;
}

bool AbrirDocumento(const std::string& entrada, Documento& doc, std::string& error) {
    if (!Leer(entrada, doc.datos, doc.digestor)) return Fallo(error, "no se pudo leer " + entrada + ".");
    if (!LocalizarXref(doc, entrada, error) || !LeerRaiz(doc, error)) return false;
    if (doc.datos.size() > kTamanoMaximo) return Fallo(error, "el PDF es demasiado grande: el limite es de 9 GB.");
    return LeerArbol(doc, error);
}

// Indices of the pages to stamp, 0-based.
std::vector<size_t> IndicesSello(const Opciones& opciones, size_t total) {
    switch (opciones.modo) {
        case 1:
            return {0};
        case 2:
            return {total - 1};
        case 3: {
            std::vector<size_t> todas(total);
            for (size_t i = 0; i < total; ++i) todas[i] = i;
            return todas;
        }
        case 4:
            return ParsarLista(opciones.stampList, total);
        default:
            return {};
    }
}

bool LeerAcroForm(const Documento& doc, Plan& plan) {
    const std::string_view valor = ValorDe(doc.catalogo, "AcroForm");
    if (RefDe(doc.catalogo, "AcroForm", plan.acroForm)) {
        plan.tipo = TipoAcroForm::Referencia;
        std::string_view dict;
        return DictDe(doc.datos, doc.mapa, plan.acroForm, dict);
    }
    if (valor.starts_with("<<")) plan.tipo = TipoAcroForm::EnLinea;
    return true;
}

void Numerar(const Documento& doc, Plan& plan) {
    long num = std::max(doc.tamano, doc.mapa.objetos.rbegin()->first + 1);
    if (plan.tipo == TipoAcroForm::Ausente) plan.acroForm = num++;
    plan.campo = num++;
    if (plan.Varias()) {
        plan.primerHijo = num;
        num += static_cast<long>(plan.paginas.size());
    }
    if (!plan.paginas.empty()) {
        plan.fuente = num++;
        plan.apariencia = num++;
    }
    plan.firma = num;
}

// The objects that will be written again must be the document's last word on them.
bool SonVigentes(Documento& doc, const Plan& plan, std::string& error) {
    if (doc.campos.ultimoFlujo == 0) return true;
    const size_t fin = doc.datos.rfind("%%EOF", doc.campos.ultimoFlujo);
    doc.mapa.frontera = fin == std::string::npos ? 0 : fin;
    if (!doc.mapa.Vigente(doc.raiz)) return Fallo(error, "el catalogo del PDF no es un diccionario legible.");
    const auto vigente = [&](long pagina) { return doc.mapa.Vigente(pagina); };
    const bool paginas = plan.paginas.empty() ? vigente(doc.paginas.back())
                                              : std::all_of(plan.paginas.begin(), plan.paginas.end(), vigente);
    if (!paginas) return Fallo(error, "la pagina de referencia del PDF no es un diccionario legible.");
    if (plan.tipo == TipoAcroForm::Referencia && !doc.mapa.Vigente(plan.acroForm)) {
        return Fallo(error, "no se pudo leer AcroForm del PDF: firmar perderia datos.");
    }
    return true;
}

bool Planificar(Documento& doc, const Opciones& opciones, const Metadatos& meta, const std::string& utc, Plan& plan,
                Resultado& r) {
    const size_t total = doc.paginas.size();
    for (size_t i : IndicesSello(opciones, total)) plan.paginas.push_back(doc.paginas[i]);
    if (plan.paginas.empty() && !opciones.stampList.empty()) {
        r.aviso = "stampList \"" + opciones.stampList + "\" no contiene indices validos para este documento (" +
                  std::to_string(total) + " paginas); se usa firma invisible.";
    }
    std::string_view dict;
    if (!DictDe(doc.datos, doc.mapa, plan.paginas.empty() ? doc.paginas.back() : plan.paginas.front(), dict)) {
        return Fallo(r.error, "la pagina de referencia del PDF no es un diccionario legible.");
    }
    if (!LeerAcroForm(doc, plan)) return Fallo(r.error, "no se pudo leer AcroForm del PDF: firmar perderia datos.");
    doc.campos = CamposFirma(doc.datos, doc.mapa);
    if (doc.mapa.Agotado()) {
        return Fallo(r.error, "el PDF esta danado: sus objetos se solapan y no se puede firmar sin perder datos.");
    }
    if (!SonVigentes(doc, plan, r.error)) return false;
    plan.nombreCampo = NombreCampoLibre(doc.campos.nombres);
    if (!doc.campos.nombres.empty()) {
        r.nota = "el documento ya contenia " + std::to_string(doc.campos.nombres.size()) +
                 " firma(s); se anade otra sin alterar las anteriores.";
    }
    if (!plan.paginas.empty()) plan.sello = ConstruirSello(meta.nombre, utc);
    Numerar(doc, plan);
    return true;
}

// The writing of one update: what is written about, where, and what went wrong.
struct Escritor {
    const Documento& doc;
    const Plan& plan;
    Actualizacion& act;
    std::string& error;

    bool Pagina(long pagina, long anotacion, std::string& rect);
    bool EditarAcroForm(std::string_view dict, std::string& nuevo);
    bool AcroForm();
    void Apariencia();
    bool Invisible();
    bool UnaPagina();
    bool VariasPaginas();
};

// The page with the annotation in its /Annots; `rect` gets the place of its stamp.
bool Escritor::Pagina(long pagina, long anotacion, std::string& rect) {
    std::string_view dict;
    if (!DictDe(doc.datos, doc.mapa, pagina, dict)) {
        return Fallo(error, "la pagina de referencia del PDF no es un diccionario legible.");
    }
    std::string nuevo;
    if (!MeterRef(doc.datos, doc.mapa, dict, "Annots", anotacion, nuevo, error)) return false;
    const auto ocupados = doc.campos.sellos.find(pagina);
    rect = RectSello(plan.sello.ancho, ocupados == doc.campos.sellos.end() ? 0 : ocupados->second, AltoPagina(dict));
    act.Objeto(pagina, Envolver(nuevo));
    return true;
}

bool Escritor::EditarAcroForm(std::string_view dict, std::string& nuevo) {
    if (!MeterRef(doc.datos, doc.mapa, dict, "Fields", plan.campo, nuevo, error)) return false;
    nuevo = PonerValor(nuevo, "SigFlags", "3");
    size_t ini = 0;
    size_t fin = 0;
    if (!ValorClave(nuevo, "DA", ini, fin)) nuevo += " /DA (0 0 0 rg /Helv 0 Tf)";
    if (!ValorClave(nuevo, "DR", ini, fin)) {
        nuevo += " /DR << /Font << /Helv << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>";
    }
    return true;
}

bool Escritor::AcroForm() {
    std::string nuevo;
    std::string_view dict;
    switch (plan.tipo) {
        case TipoAcroForm::Referencia:
            // A second version of an object that this update already holds would undo the first.
            if (act.Tiene(plan.acroForm) || !DictDe(doc.datos, doc.mapa, plan.acroForm, dict)) {
                return Fallo(error, "no se pudo leer AcroForm del PDF: firmar perderia datos.");
            }
            if (!EditarAcroForm(dict, nuevo)) return false;
            act.Objeto(plan.acroForm, Envolver(nuevo));
            return true;
        case TipoAcroForm::EnLinea:
            dict = ValorDe(doc.catalogo, "AcroForm");
            if (dict.size() < 4 || !dict.ends_with(">>")) {
                return Fallo(error, "no se pudo leer AcroForm del PDF: firmar perderia datos.");
            }
            if (!EditarAcroForm(dict.substr(2, dict.size() - 4), nuevo)) return false;
            act.Objeto(doc.raiz, Envolver(PonerValor(doc.catalogo, "AcroForm", Envolver(nuevo))));
            return true;
        case TipoAcroForm::Ausente:
            act.Objeto(doc.raiz, Envolver(PonerValor(doc.catalogo, "AcroForm", Ref(plan.acroForm))));
            if (!EditarAcroForm({}, nuevo)) return false;
            act.Objeto(plan.acroForm, Envolver(nuevo));
            return true;
    }
    return false;
}

// The font and the form XObject that all widgets of the signature show.
void Escritor::Apariencia() {
    act.Objeto(plan.fuente, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
    act.Objeto(plan.apariencia, CuerpoSello(plan.sello, plan.fuente));
}

bool Escritor::Invisible() {
    std::string rect;
    const long pagina = doc.paginas.back();
    if (!Pagina(pagina, plan.campo, rect) || !AcroForm()) return false;
    act.Objeto(plan.campo, "<< /Type /Annot /Subtype /Widget /FT /Sig /T (" + plan.nombreCampo +
                               ") /Rect [0 0 0 0] /F 4 /P " + Ref(pagina) + " /V " + Ref(plan.firma) + " >>");
    return true;
}

bool Escritor::UnaPagina() {
    std::string rect;
    const long pagina = plan.paginas.front();
    if (!Pagina(pagina, plan.campo, rect) || !AcroForm()) return false;
    act.Objeto(plan.campo, "<< /Type /Annot /Subtype /Widget /FT /Sig /T (" + plan.nombreCampo + ") /Rect " + rect +
                               " /F 4 /P " + Ref(pagina) + " /V " + Ref(plan.firma) + " /AP << /N " +
                               Ref(plan.apariencia) + " >> >>");
    Apariencia();
    return true;
}

bool Escritor::VariasPaginas() {
    Apariencia();
    std::string hijos;
    long hijo = plan.primerHijo;
    for (long pagina : plan.paginas) {
        std::string rect;
        if (!Pagina(pagina, hijo, rect)) return false;
        // /V stands in every kid too: some viewers look for it there and show the document as not signed otherwise.
        act.Objeto(hijo, "<< /Type /Annot /Subtype /Widget /Parent " + Ref(plan.campo) + " /V " + Ref(plan.firma) +
                             " /P " + Ref(pagina) + " /F 4 /Rect " + rect + " /AP << /N " + Ref(plan.apariencia) +
                             " >> >>");
        hijos += (hijos.empty() ? "" : " ") + Ref(hijo++);
    }
    if (!AcroForm()) return false;
    act.Objeto(plan.campo,
               "<< /FT /Sig /T (" + plan.nombreCampo + ") /V " + Ref(plan.firma) + " /Kids [" + hijos + "] >>");
    return true;
}

bool EscribirObjetos(const Documento& doc, const Plan& plan, Actualizacion& act, std::string& error) {
    if (doc.datos.back() != '\n' && doc.datos.back() != '\r') act.Texto("\n");
    Escritor escritor{doc, plan, act, error};
    if (plan.paginas.empty()) return escritor.Invisible();
    return plan.Varias() ? escritor.VariasPaginas() : escritor.UnaPagina();
}

// The first identifier of the document when it is written in plain hexadecimal (ISO 32000-1, 14.4), else `otro`.
std::string PrimerId(std::string_view trailer, const std::string& otro) {
    std::string_view id = ValorDe(trailer, "ID");
    const size_t abre = Blanco(id, 1);
    const size_t cierra = id.find('>', abre);
    if (!id.starts_with('[') || id.substr(abre, 1) != "<" || cierra == std::string_view::npos) return otro;
    const std::string texto(id.substr(abre + 1, cierra - abre - 1));
    const bool hex = texto.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
    return hex && !texto.empty() ? texto : otro;
}

void EscribirXref(Documento& doc, const Plan& plan, Actualizacion& act) {
    const std::vector<unsigned char> hash = Lx::Api::Interno::Sha256Fin(doc.digestor.Terminar());
    const std::string id1 = Lx::Api::BinToHex(hash.data(), 16);
    std::string entradas;
    long num = 0;
    long gen = 0;
    if (LeerReferencia(ValorDe(doc.trailer, "Info"), num, gen)) {
        entradas = " /Info " + std::to_string(num) + " " + std::to_string(gen) + " R";
    }
    act.Xref(plan.firma + 1, doc.raiz, entradas, doc.previo, PrimerId(doc.trailer, id1), id1);
}

// Fills /ByteRange and hashes what it covers: the document was hashed when it was read, only the update is new.
std::vector<unsigned char> CubrirTodo(Documento& doc, Actualizacion& act, const Hueco& hueco) {
    std::string& texto = act.Bytes();
    const size_t base = doc.datos.size();
    const std::string rangos = TextoByteRange(base + hueco.abre, base + hueco.Tras(), act.Total());
    texto.replace(hueco.byteRange, rangos.size(), rangos);
    Lx::Api::Interno::Sha256Ctx ctx = doc.digestor.Terminar();
    Lx::Api::Interno::Sha256Update(ctx, texto.data(), hueco.abre);
    Lx::Api::Interno::Sha256Update(ctx, texto.data() + hueco.Tras(), texto.size() - hueco.Tras());
    return Lx::Api::Interno::Sha256Fin(ctx);
}

// Writes the document and its update, and checks the file once the document's memory was given back.
void Guardar(const std::string& entrada, const std::string& salida, Documento& doc, const Actualizacion& act,
             const std::vector<unsigned char>& digest, const std::string& nota, Resultado& r) {
    if (MismoFichero(entrada, salida)) {
        r.error = "la salida " + salida + " es el propio documento: elija otro nombre.";
        return;
    }
    if (!Escribir(salida, {doc.datos, act.Bytes()}, r.error)) return;
    r.bytes = act.Total();
    std::string().swap(doc.datos);
    if (!Verificar(salida, digest)) {
        r.error = "autocomprobacion del ByteRange fallida: no se escribe el PDF firmado.";
        return;
    }
    r.escrito = true;
    r.firmado = true;
    r.nota = nota;
}

}  // namespace

Metadatos ConValoresPorDefecto(Metadatos meta, const Lx::X509::Certificado& cert) {
    if (meta.nombre.empty()) meta.nombre = cert.subjectCN;
    if (meta.ubicacion.empty()) meta.ubicacion = "Velmora";
    if (meta.razon.empty()) meta.razon = "Firma de documento";
    return meta;
}

Resultado FirmarEn(const std::string& utc, const std::string& entrada, const std::string& salida,
                   const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar, const Metadatos& pedidos,
                   const Opciones& opciones) {
    Resultado r;
    const Metadatos meta = ConValoresPorDefecto(pedidos, cert);
    Documento doc;
    Plan plan;
    if (!AbrirDocumento(entrada, doc, r.error) || !Planificar(doc, opciones, meta, utc, plan, r)) return r;
    Actualizacion act(doc.datos.size());
    if (!EscribirObjetos(doc, plan, act, r.error)) return r;
    if (!PuedeFirmar(cert, reserva, firmar)) {
        r.error = "no hay certificado valido para firmar.";
        return r;
    }
    Reserva hecha;
    if (!Reservar(cert, reserva, hecha, r.error)) return r;
    const Hueco hueco = act.Firma(plan.firma, meta, utc, hecha.bytes);
    EscribirXref(doc, plan, act);
    const std::vector<unsigned char> digest = CubrirTodo(doc, act, hueco);
    std::string nota;
    if (!FirmarHueco(act.Bytes(), hueco, digest, cert, hecha.sid, firmar, nota, r.error)) return r;
    Guardar(entrada, salida, doc, act, digest, nota, r);
    return r;
}

}  // namespace LxPdfSigner::Interno
