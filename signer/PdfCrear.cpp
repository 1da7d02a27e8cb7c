#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "crypto/LxSha256.h"
#include "pdf/LxActualizacion.h"
#include "signer/Motor.h"
#include "signer/PdfCopia.h"
#include "signer/PdfFichero.h"
#include "signer/PdfHueco.h"
#include "signer/PdfSello.h"
#include "signer/PdfVigia.h"

namespace LxPdfSigner::Interno {

namespace {

// The object numbers follow from the order of writing: 1 catalog, 2 page tree, 3 page, 4 its font, 5 its content,
// and, signed: 6 AcroForm, 7 field and widget, 8 signature, 9 the stamp's font, 10 its drawing.

constexpr std::string_view kCatalogo = "<< /Type /Catalog /Pages 2 0 R >>";
constexpr std::string_view kCatalogoFirmado =
    "<< /Type /Catalog /Pages 2 0 R /AcroForm 6 0 R"
    " /Extensions << /ESIC << /BaseVersion /1.7 /ExtensionLevel 1 >> >> >>";
constexpr std::string_view kArbol = "<< /Type /Pages /Kids [3 0 R] /Count 1 >>";
constexpr std::string_view kPagina =
    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842]"
    " /Resources << /Font << /F1 4 0 R >> >> /Contents 5 0 R";
constexpr std::string_view kFuente =
    "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>";
constexpr std::string_view kAcroForm =
    "<< /Fields [7 0 R] /SigFlags 3 /DA (0 0 0 rg /Helv 0 Tf)"
    " /DR << /Font << /Helv << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >> >>";

// A whole file being written, its objects numbered as they come.
struct Fichero {
    LxPdf::Actualizacion partes{0};
    uint32_t objetos = 0;
    // Only of a signed document.
    Hueco hueco;
    Estampa estampa;

    void Objeto(std::string_view cuerpo) { partes.Objeto({++objetos, 0}, cuerpo); }
};

std::string ContenidoPagina(const std::string& texto) {
    const std::string contenido = "BT\n/F1 24 Tf\n72 720 Td\n(" + Escapar(WinAnsi(texto)) + ") Tj\nET";
    return "<< /Length " + std::to_string(contenido.size()) + " >>\nstream\n" + contenido + "\nendstream";
}

// The stamp of a new document is as wide as its longest line has bytes: other than in an update, it never hugs a short
// name.
Sello SelloNuevo(const std::string& nombre, const std::string& utc) {
    constexpr size_t kPrimeraLinea = 25;
    constexpr size_t kAntesDeLaFecha = 7;
    const size_t largo = std::max({kPrimeraLinea, nombre.size(), kAntesDeLaFecha + FechaLegible(utc).size()});
    return {std::clamp(std::ceil(static_cast<double>(largo) * 4.8 + 16), 220.0, 400.0), ContenidoSello(nombre, utc)};
}

void EscribirFormulario(Fichero& fichero, const Metadatos& meta, const std::string& utc, size_t reserva) {
    const Sello sello = SelloNuevo(meta.nombre, utc);
    fichero.estampa = {0, 50, 842 - 40 - kAltoSello, 50 + sello.ancho, 842 - 40};
    fichero.Objeto(kAcroForm);
    fichero.Objeto("<< /Type /Annot /Subtype /Widget /FT /Sig /T (Signature1) /Rect " + RectSello(sello.ancho, 0, 842) +
                   " /F 4 /P 3 0 R /V 8 0 R /AP << /N 10 0 R >> >>");
    fichero.partes.Abrir({++fichero.objetos, 0});
    fichero.hueco = EscribirFirma(fichero.partes.Bytes(), fichero.objetos, meta, utc, reserva);
    fichero.Objeto(kFuente);
    fichero.Objeto(CuerpoSello(sello, {fichero.objetos, 0}));
}

Fichero Construir(const std::string& texto, bool firmar, size_t reserva, const Metadatos& meta,
                  const std::string& utc) {
    Fichero fichero;
    fichero.partes.Texto("%PDF-1.4\n");
    fichero.Objeto(firmar ? kCatalogoFirmado : kCatalogo);
    fichero.Objeto(kArbol);
    fichero.Objeto(std::string(kPagina) + (firmar ? " /Annots [7 0 R] >>" : " >>"));
    fichero.Objeto(kFuente);
    fichero.Objeto(ContenidoPagina(texto));
    if (firmar) EscribirFormulario(fichero, meta, utc, reserva);
    fichero.partes.TablaEntera(" /Size " + std::to_string(fichero.objetos + 1) + " /Root 1 0 R");
    return fichero;
}

// Fills /ByteRange and hashes what it covers.
std::vector<unsigned char> CubrirTodo(Fichero& fichero) {
    const Hueco& hueco = fichero.hueco;
    std::string& texto = fichero.partes.Bytes();
    const std::string rangos = TextoByteRange(hueco.abre, hueco.Tras(), texto.size());
    texto.replace(hueco.byteRange, rangos.size(), rangos);
    Lx::Api::Interno::Sha256Ctx ctx;
    Lx::Api::Interno::Sha256Update(ctx, texto.data(), hueco.abre);
    Lx::Api::Interno::Sha256Update(ctx, texto.data() + hueco.Tras(), texto.size() - hueco.Tras());
    return Lx::Api::Interno::Sha256Fin(ctx);
}

// The signed document, written and checked. On false the file may hold anything.
bool CrearFirmado(const std::string& utc, const std::string& salida, const std::string& texto,
                  const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar, const Metadatos& meta,
                  Resultado& r) {
    Reserva hecha;
    if (!Reservar(cert, reserva, hecha, r.motivo, r.error)) return false;
    Fichero fichero = Construir(texto, true, hecha.bytes, meta, utc);
    const std::vector<unsigned char> digest = CubrirTodo(fichero);
    std::string nota;
    if (!FirmarHueco(fichero.partes.Bytes(), fichero.hueco, digest, cert, hecha.sid, firmar, nota, r.motivo, r.error))
        return false;
    if (!Escribir(salida, {fichero.partes.Bytes()}, r.motivo, r.error)) return false;
    if (!Verificar(salida, digest)) {
        r.motivo = Lx::Motivo::Autocomprobacion;
        r.error = "autocomprobacion del ByteRange fallida: se deja el PDF sin firma.";
        return false;
    }
    r.bytes = fichero.partes.Bytes().size();
    r.salida = salida;
    r.escrito = true;
    r.firmado = true;
    r.nota = nota;
    r.estampa = fichero.estampa;
    return true;
}

// The signed document, whole under its name.
void CrearEntero(const std::string& utc, const std::string& salida, const std::string& texto,
                 const Lx::X509::Certificado& cert, const Callback& firmar, const Metadatos& meta,
                 const Opciones& opciones, Lx::Control& control, Resultado& r) {
    Reserva hecha;
    if (!PuedeFirmar(cert, kReservaPorDefecto, firmar)) {
        r.motivo = Lx::Motivo::CertificadoInutil;
        r.error = "no hay certificado valido para firmar.";
        return;
    }
    if (!Reservar(cert, kReservaPorDefecto, hecha, r.motivo, r.error)) return;
    Fichero fichero = Construir(texto, true, hecha.bytes, meta, utc);
    std::string& bytes = fichero.partes.Bytes();
    const std::vector<unsigned char> digest = CubrirTodo(fichero);
    // To the copy it is an update of nothing.
    const std::unique_ptr<LxPdf::Fuente> nada = LxPdf::AbrirMemoria({});
    Copia copia;
    Lx::Api::Interno::Sha256Ctx hash;
    std::string nota;
    if (!copia.Empezar(*nada, DestinoDe(salida, opciones, *nada), control, r.motivo, r.error) ||
        !copia.Esperar(hash, r.motivo, r.error) || !copia.Reservar(bytes.size(), r.motivo, r.error) ||
        !FirmarHueco(bytes, fichero.hueco, digest, cert, hecha.sid, firmar, nota, r.motivo, r.error) ||
        !copia.Acabar(bytes, digest, r.motivo, r.error))
        return;
    r.bytes = bytes.size();
    r.salida = copia.Ruta();
    r.nota = nota;
    r.estampa = fichero.estampa;
    r.escrito = r.firmado = true;
}

}  // namespace

Resultado CrearEnteroEn(const std::string& utc, const std::string& salida, const std::string& texto,
                        const Lx::X509::Certificado& cert, const Callback& firmar, const Metadatos& pedidos,
                        const Opciones& pedidas) {
    Resultado r;
    Lx::Control nadie;
    Lx::Control& control = pedidas.control != nullptr ? *pedidas.control : nadie;
    Opciones opciones = pedidas;
    opciones.referencias = true;
    Turno turno(firmar, control);
    CrearEntero(utc, salida, texto, cert, firmar ? turno.Funcion() : firmar, ConValoresPorDefecto(pedidos, cert),
                opciones, control, r);
    turno.Explicar(r);
    return r;
}

Resultado CrearEn(const std::string& utc, const std::string& salida, const std::string& texto,
                  const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar, const Metadatos& pedidos) {
    Resultado r;
    const Metadatos meta = ConValoresPorDefecto(pedidos, cert);
    if (PuedeFirmar(cert, reserva, firmar) && CrearFirmado(utc, salida, texto, cert, reserva, firmar, meta, r))
        return r;
    const Fichero fichero = Construir(texto, false, 0, meta, utc);
    std::string error;
    Lx::Motivo motivo = Lx::Motivo::CertificadoInutil;
    r.escrito = Escribir(salida, {fichero.partes.Bytes()}, motivo, error);
    if (r.escrito) {
        r.bytes = fichero.partes.Bytes().size();
        r.salida = salida;
        error = "PDF escrito sin firma.";
    }
    if (r.error.empty()) {
        r.error = error;
        r.motivo = motivo;
    }
    return r;
}

}  // namespace LxPdfSigner::Interno
