#include "signer/PdfFrases.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "pdf/LxSintaxis.h"
#include "signer/PdfSello.h"

namespace LxPdfSigner::Interno {

namespace {

using Lx::Aviso;
using Lx::Motivo;
using LxPdf::Defecto;

constexpr const char* kPedirOtro =
    " Pide a quien lo hizo que lo guarde de nuevo, o imprímelo a un PDF y firma ese, si no lleva firmas.";

// {n} stands for the object's number, {x} for a name, {r} for the path.
constexpr struct {
    Defecto defecto;
    Motivo motivo;
    const char* frase;
    bool otro = false;  // the way out is another copy of the document
} kFrases[] = {
    {Defecto::NoSeLee, Motivo::NoSeLee, "no se pudo leer {r}."},
    {Defecto::SinCabecera, Motivo::NoEsPdf, "{r} no es un PDF."},
    {Defecto::SinStartxref, Motivo::NoEsPdf, "el PDF no tiene 'startxref': no es un PDF valido."},
    {Defecto::StartxrefFuera, Motivo::Danado, "el 'startxref' del PDF apunta fuera del fichero."},
    {Defecto::TrailerIlegible, Motivo::Danado, "no se pudo leer el trailer del PDF (xref ilegible)."},
    {Defecto::SinRaiz, Motivo::Danado, "el trailer del PDF no tiene /Root."},
    {Defecto::Cifrado, Motivo::Cifrado, "el PDF está cifrado: los documentos protegidos no se pueden firmar."},
    {Defecto::DemasiadoGrande, Motivo::Excesivo, "el PDF es demasiado grande: el límite es de 9 GB."},
    {Defecto::SinObjetos, Motivo::Danado,
     "el PDF no contiene objetos legibles (probablemente todo el arbol esta en un ObjStm)."},
    {Defecto::CatalogoIlegible, Motivo::Danado, "el catalogo del PDF no es un diccionario legible."},
    {Defecto::SinArbol, Motivo::Danado, "el catalogo no apunta a /Pages por referencia."},
    {Defecto::SinPaginas, Motivo::SinPaginas, "no se localizo ninguna pagina en el arbol del PDF."},
    {Defecto::Solapados, Motivo::Danado,
     "el PDF está dañado: sus objetos se solapan y no se puede firmar sin perder datos."},
    {Defecto::Irreparable, Motivo::Danado, "el PDF está dañado y no se puede reconstruir.", true},
    {Defecto::Excesivo, Motivo::Excesivo,
     "la estructura del PDF pasa de los límites que se leen: parece hecha para agotar a los programas.", true},
    {Defecto::Filtro, Motivo::Filtro, "la estructura del PDF está comprimida con {x}, que no se lee.", true},
    {Defecto::DosLecturas, Motivo::Ambiguo,
     "unos programas muestran un contenido de este PDF y otros, otro (objeto {n}): no se firma lo que no todos ven "
     "igual.",
     true},
    {Defecto::DosRaices, Motivo::Ambiguo,
     "el PDF contiene más de un documento, y no todos los programas muestran el mismo.", true},
    {Defecto::DosBases, Motivo::Ambiguo,
     "el PDF se puede leer desde dos sitios del fichero, y no todos los programas muestran lo mismo.", true},
    {Defecto::ClaveRepetida, Motivo::Ambiguo,
     "un dato del PDF está dos veces (objeto {n}), y no todos los programas toman el mismo.", true},
    {Defecto::GeneracionAjena, Motivo::Ambiguo,
     "el objeto {n} del PDF se cita con otra generación que la suya: unos programas lo muestran y otros no.", true},
    {Defecto::MiembroImposible, Motivo::Ambiguo,
     "el objeto {n} del PDF está mal guardado en su flujo, y no todos los programas leen lo mismo.", true},
    {Defecto::EntradaAjena, Motivo::Ambiguo,
     "el objeto {n} del PDF tiene una entrada de un tipo desconocido: unos programas abren el documento y otros no.",
     true},
    {Defecto::HibridoAmbiguo, Motivo::Ambiguo, "el objeto {n} del PDF existe para unos programas y para otros no.",
     true},
};

void Sustituir(std::string& frase, std::string_view que, const std::string& por) {
    if (const size_t pos = frase.find(que); pos != std::string::npos) frase.replace(pos, que.size(), por);
}

// "D:20260131…" as "31-01-2026"; anything else as it stands.
std::string Dia(const std::string& fecha) {
    const std::string f = fecha.starts_with("D:") ? fecha.substr(2) : fecha;
    if (f.size() < 8 || f.find_first_not_of("0123456789") < 8) return fecha;
    return f.substr(6, 2) + "-" + f.substr(4, 2) + "-" + f.substr(0, 4);
}

// Code points that may not stand in a line of ours: controls, line ends, marks of direction, what has no width.
constexpr struct {
    char32_t desde, hasta;
} kInvisibles[] = {
    {0, 0x1F},        {0x7F, 0x9F},     {0xAD, 0xAD},     {0x34F, 0x34F},   {0x61C, 0x61C},     {0x115F, 0x1160},
    {0x17B4, 0x17B5}, {0x180B, 0x180F}, {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},   {0x3164, 0x3164},
    {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFC}, {0xE0000, 0xE0FFF},
};

// Of well-formed UTF-8.
char32_t PuntoEn(std::string_view texto, size_t& pos) {
    const auto primero = static_cast<unsigned char>(texto[pos++]);
    char32_t punto = primero < 0x80 ? primero : primero & (primero < 0xE0 ? 0x1F : primero < 0xF0 ? 0x0F : 0x07);
    for (; pos < texto.size() && (static_cast<unsigned char>(texto[pos]) & 0xC0) == 0x80; ++pos)
        punto = punto << 6 | (static_cast<unsigned char>(texto[pos]) & 0x3F);
    return punto;
}

std::string Nombrar(const std::vector<std::string>& nombres) {
    constexpr size_t kHasta = 3;
    std::string lista;
    for (size_t i = 0; i < std::min(nombres.size(), kHasta); ++i) {
        lista += (lista.empty() ? "\"" : ", \"") + Llano(nombres[i]) + "\"";
    }
    return nombres.size() > kHasta ? lista + "…" : lista;
}

}  // namespace

bool Fallo(Resultado& r, Motivo motivo, std::string frase) {
    r.motivo = motivo;
    r.error = std::move(frase);
    return false;
}

bool Fallo(Resultado& r, Aviso aviso) {
    return Fallo(r, aviso.motivo, std::move(aviso.frase));
}

bool FalloPagina(Resultado& r) {
    return Fallo(r, Motivo::Danado, "la pagina de referencia del PDF no es un diccionario legible.");
}

bool FalloPerderia(Resultado& r, const char* que) {
    return Fallo(r, Motivo::Danado, std::string("no se pudo leer ") + que + " del PDF: firmar perdería datos.");
}

std::string Llano(const std::string& texto, size_t largo) {
    // Through UTF-16, which leaves nothing that is no character.
    const std::string entero = LxPdf::Utf8DeCadena(TextoPdfUtf16(texto));
    std::string llano;
    for (size_t pos = 0; pos < entero.size();) {
        const size_t inicio = pos;
        const char32_t punto = PuntoEn(entero, pos);
        const bool fuera = std::any_of(std::begin(kInvisibles), std::end(kInvisibles),
                                       [punto](const auto& f) { return punto >= f.desde && punto <= f.hasta; });
        const bool blanco = fuera || punto == ' ';
        if (blanco && (llano.empty() || llano.back() == ' ')) continue;
        if (llano.size() + (pos - inicio) > largo) return llano + "…";
        llano += blanco ? " " : entero.substr(inicio, pos - inicio);
    }
    if (llano.ends_with(' ')) llano.pop_back();
    return llano;
}

Aviso Explicar(const LxPdf::Fallo& fallo, const std::string& entrada) {
    const auto* fila =
        std::find_if(std::begin(kFrases), std::end(kFrases), [&](const auto& f) { return f.defecto == fallo.defecto; });
    if (fila == std::end(kFrases)) return {Motivo::Danado, "el PDF está dañado."};
    std::string frase = fila->frase;
    Sustituir(frase, "{n}", std::to_string(fallo.numero));
    Sustituir(frase, "{x}", Llano(fallo.nombre));
    Sustituir(frase, "{r}", entrada);
    if (fila->otro) frase += kPedirOtro;
    return {fila->motivo, frase};
}

Aviso ExplicarCertificado(const LxPdf::Permisos& permisos) {
    std::string frase = "el PDF está certificado y no admite ningún cambio, tampoco otra firma";
    if (!permisos.quien.empty() || !permisos.cuando.empty()) {
        frase += " (según el documento, ";
        frase += permisos.quien.empty() ? "se certificó" : "lo certificó " + Llano(permisos.quien);
        if (!permisos.cuando.empty()) frase += " el " + Llano(Dia(permisos.cuando));
        frase += ")";
    }
    return {Motivo::Certificado, frase +
                                     ": firmarlo rompería esa certificación. Pide a quien lo certificó una copia "
                                     "que admita firmas."};
}

bool Bloquea(const LxPdf::Permisos::Cerrojo& cerrojo, const std::string& nombre) {
    if (cerrojo.accion == "All") return true;
    // The name of a parent stands for all below it.
    const bool nombrado = std::any_of(cerrojo.nombres.begin(), cerrojo.nombres.end(), [&](const std::string& n) {
        return n == nombre || (nombre.size() > n.size() && nombre.starts_with(n) && nombre[n.size()] == '.');
    });
    return nombrado == (cerrojo.accion == "Include");
}

std::vector<Aviso> AvisosDe(const LxPdf::Documento& doc, const LxPdf::Permisos& permisos, const LxPdf::Campos& campos,
                            const std::string& nombre, bool visible) {
    std::vector<Aviso> avisos;
    const struct LxPdf::Rarezas& rarezas = doc.Rarezas();
    if (rarezas.reconstruido) {
        avisos.push_back(
            {Motivo::Reconstruido,
             "El PDF está dañado y se reconstruye al firmarlo: comprueba que en la copia firmada está todo."});
    }
    if (rarezas.tablaTrasFlujo || rarezas.indiceAjeno || permisos.fueraDeRango) {
        avisos.push_back({Motivo::Extrano,
                          "El PDF tiene defectos de forma: algún programa puede mostrarlo de otra manera. "
                          "Comprueba que en la copia firmada está todo."});
    }
    if (permisos.p == 2 && visible) {
        avisos.push_back({Motivo::SelloEnCertificado,
                          "El PDF está certificado y solo admite rellenarlo y firmarlo: algún programa puede dar el "
                          "sello visible por un cambio no permitido. Con la firma invisible no pasa."});
    }
    const auto cerrojo = std::find_if(permisos.cerrojos.begin(), permisos.cerrojos.end(),
                                      [&](const auto& c) { return Bloquea(c, nombre); });
    if (cerrojo != permisos.cerrojos.end()) {
        avisos.push_back({Motivo::CampoBloqueado, "La firma del campo \"" + Llano(cerrojo->campo) +
                                                      "\" bloquea los campos del documento: algún programa puede dar "
                                                      "la firma nueva por un cambio no permitido."});
    }
    if (!campos.vacios.empty()) {
        avisos.push_back({Motivo::CamposVacios,
                          (campos.vacios.size() == 1 ? "El documento tiene un campo de firma sin firmar ("
                                                     : "El documento tiene campos de firma sin firmar (") +
                              Nombrar(campos.vacios) + "): la firma nueva se añade aparte, sin tocar lo que hay."});
    }
    if (permisos.derechosDeUso) {
        avisos.push_back({Motivo::DerechosDeUso,
                          "El PDF lleva derechos de uso de quien lo hizo: el programa que los concede puede retirarlos "
                          "al ver la copia firmada."});
    }
    if (permisos.xfaDinamico) {
        avisos.push_back({Motivo::FormularioXfa,
                          "El PDF contiene un formulario dinámico (XFA): algunos programas muestran ese formulario en "
                          "lugar de las páginas que se firman."});
    }
    return avisos;
}

}  // namespace LxPdfSigner::Interno
