// Incremental updates compared byte by byte: a fixed clock, a key made for the run, and everything but the hole by
// hand.
#include "signer/Motor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "crypto/LxApi.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdfSigner::Interno {
namespace {

using testing::StartsWith;

constexpr const char* kHora = "261115170509Z";
constexpr const char* kFuente =
    "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>\nendobj\n";
const std::string kDaDr =
    " /DA (0 0 0 rg /Helv 0 Tf) /DR << /Font << /Helv << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>>>";
// "Firmado digitalmente por:" is the widest line but for long names, and the box is never narrower than this.
constexpr const char* kCuerpoSello =
    "/Resources << /Font << /Ft0 @F 0 R >> >> /Length 133 >>\nstream\n"
    "BT /Ft0 7.5 Tf 0 0 0 rg 4 22 Td (Firmado digitalmente por:) Tj 0 -9 Td (Ana Solis) Tj 0 -9 Td "
    "(Fecha: 2026-11-15 17:05:09 UTC) Tj ET\nendstream\nendobj\n";

std::string Sustituir(std::string texto, const std::string& que, const std::string& por) {
    for (size_t pos = 0; (pos = texto.find(que, pos)) != std::string::npos; pos += por.size()) {
        texto.replace(pos, que.size(), por);
    }
    return texto;
}

std::string Documento(const std::vector<std::string>& objetos, const std::string& trailer,
                      const std::string& fin = "\n") {
    return Sustituir(Apoyo::PdfDe(objetos, trailer), "\n", fin);
}

constexpr const char* kPagina = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] >>";

struct Caso {
    const char* nombre;
    std::string pdf;
    Opciones opciones;
    std::string objetos;        // the update up to the signature dictionary
    std::vector<long> numeros;  // all objects of the update in ascending order, the signature last
    std::string id0 = {};       // empty: the same as the second
    std::string trailer = " /Root 1 0 R";
};

std::vector<Caso> Casos() {
    const std::string catalogo = "<< /Type /Catalog /Pages 2 0 R >>";
    const std::string una = "<< /Type /Pages /Kids [3 0 R] /Count 1 >>";
    const std::string dos = "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 2 >>";
    return {
        {"invisible, no form, no final newline, /ID in hexadecimal",
         [&] {
             std::string pdf = Documento({catalogo, una, kPagina}, " /ID [<00ff> <11>]");
             pdf.pop_back();
             return pdf;
         }(),
         {0, ""},
         std::string("\n3 0 obj\n<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842]  /Annots [ 5 0 R ]>>\nendobj\n") +
             "1 0 obj\n<< /Type /Catalog /Pages 2 0 R  /AcroForm 4 0 R>>\nendobj\n" +
             "4 0 obj\n<< /Fields [ 5 0 R ] /SigFlags 3" + kDaDr + "\nendobj\n" +
             "5 0 obj\n<< /Type /Annot /Subtype /Widget /FT /Sig /T (Signature1) /Rect [0 0 0 0] /F 4 /P 3 0 R "
             "/V 6 0 R >>\nendobj\n",
         {1, 3, 4, 5, 6},
         "00ff"},
        {"first page, form inline with fields and its own /DA and /DR, Annots direct, /Info, literal /ID",
         Documento({"<< /Type /Catalog /Pages 2 0 R /AcroForm << /Fields [7 0 R] /DA (x) /DR << >> >> /Lang (es) >>",
                    dos, "<< /Type /Page /Annots [ 7 0 R ] /Parent 2 0 R >>", kPagina},
                   " /Info 9 0 R /ID [(a<41>) (b)]"),
         {1, ""},
         std::string("3 0 obj\n<< /Type /Page /Annots [ 7 0 R  5 0 R ] /Parent 2 0 R >>\nendobj\n") +
             "1 0 obj\n<< /Type /Catalog /Pages 2 0 R /AcroForm << /Fields [7 0 R 5 0 R ] /DA (x) /DR << >>  "
             "/SigFlags 3>> /Lang (es) >>\nendobj\n"
             "5 0 obj\n<< /Type /Annot /Subtype /Widget /FT /Sig /T (Signature1) /Rect [50 40 210 72] /F 4 /P 3 0 R "
             "/V 8 0 R /AP << /N 7 0 R >> >>\nendobj\n"
             "6 0 obj\n" +
             kFuente + "7 0 obj\n<< /Type /XObject /Subtype /Form /FormType 1 /BBox [0 0 160 32] " +
             Sustituir(kCuerpoSello, "@F", "6"),
         {1, 3, 5, 6, 7, 8},
         "",
         " /Root 1 0 R /Info 9 0 R"},
        {"several pages, form and its fields by reference, Annots by reference and null",
         Documento({"<< /Type /Catalog /Pages 2 0 R /AcroForm 5 0 R >>", dos, "<< /Type /Page /Annots 6 0 R >>",
                    "<< /Type /Page /Annots null /MediaBox [0 0 200 90] >>", "<< /Fields 7 0 R /SigFlags 1 >>",
                    "[ 6 0 R\n7 0 R ]", "[]"},
                   ""),
         {3, ""},
         std::string("11 0 obj\n") + kFuente +
             "12 0 obj\n<< /Type /XObject /Subtype /Form /FormType 1 /BBox [0 0 160 32] " +
             Sustituir(kCuerpoSello, "@F", "11") +
             "3 0 obj\n<< /Type /Page /Annots [ 6 0 R\n7 0 R 9 0 R ] >>\nendobj\n"
             "9 0 obj\n<< /Type /Annot /Subtype /Widget /Parent 8 0 R /V 13 0 R /P 3 0 R /F 4 /Rect [50 40 210 72] "
             "/AP << /N 12 0 R >> >>\nendobj\n"
             "4 0 obj\n<< /Type /Page /Annots [ 10 0 R ] /MediaBox [0 0 200 90] >>\nendobj\n"
             "10 0 obj\n<< /Type /Annot /Subtype /Widget /Parent 8 0 R /V 13 0 R /P 4 0 R /F 4 /Rect [0 0 0 0] "
             "/AP << /N 12 0 R >> >>\nendobj\n"
             "5 0 obj\n<< /Fields [  8 0 R ] /SigFlags 3 " +
             kDaDr +
             "\nendobj\n"
             "8 0 obj\n<< /FT /Sig /T (Signature1) /V 13 0 R /Kids [9 0 R 10 0 R] >>\nendobj\n",
         {3, 4, 5, 8, 9, 10, 11, 12, 13}},
        {"already signed twice on the last page, line ends of CR alone",
         Documento({"<< /Type /Catalog /Pages 2 0 R /AcroForm << /Fields [4 0 R 5 0 R] /SigFlags 3 >> >>", una,
                    "<< /Type /Page /Annots [4 0 R 5 0 R] >>",
                    "<< /Subtype /Widget /FT /Sig /T (Signature1) /P 3 0 R /Rect [50 40 210 72] >>",
                    "<< /Subtype /Widget /FT /Sig /T (Signature2) /P 3 0 R /Rect [50 76 210 108] >>"},
                   " /ID [<> <>]", "\r"),
         {2, ""},
         std::string("3 0 obj\n<< /Type /Page /Annots [4 0 R 5 0 R 6 0 R ] >>\nendobj\n") +
             "1 0 obj\n<< /Type /Catalog /Pages 2 0 R /AcroForm << /Fields [4 0 R 5 0 R 6 0 R ] /SigFlags 3 " + kDaDr +
             " >>\nendobj\n"
             "6 0 obj\n<< /Type /Annot /Subtype /Widget /FT /Sig /T (Signature3) /Rect [50 112 210 144] /F 4 /P 3 0 R "
             "/V 9 0 R /AP << /N 8 0 R >> >>\nendobj\n"
             "7 0 obj\n" +
             kFuente + "8 0 obj\n<< /Type /XObject /Subtype /Form /FormType 1 /BBox [0 0 160 32] " +
             Sustituir(kCuerpoSello, "@F", "7"),
         {1, 3, 6, 7, 8, 9}},
    };
}

class Motor : public testing::Test {
  protected:
    Resultado Firmar(const std::string& pdf, const Opciones& opciones) {
        Apoyo::EscribirFichero(entrada_, pdf);
        return FirmarA(salida_, opciones);
    }
    Resultado FirmarA(const std::string& salida, const Opciones& opciones = {}) {
        return FirmarEn(kHora, entrada_, salida, identidad_.certificado, kReservaPorDefecto, identidad_.firmar,
                        {"Ana Solis", "", ""}, opciones);
    }

    const Apoyo::Identidad& identidad_ = Apoyo::IdentidadComun();
    Apoyo::CarpetaTemporal carpeta_;
    const std::string entrada_ = carpeta_ / "entrada.pdf";
    const std::string salida_ = carpeta_ / "salida.pdf";
};

// The update's own table, whose offsets are those of the objects that it names.
std::string XrefDe(const std::string& pdf, size_t desde, const std::vector<long>& numeros) {
    const std::string adicion = "\n" + pdf.substr(desde);
    std::string tabla = "xref\n0 1\n0000000000 65535 f \n";
    for (long num : numeros) {
        char linea[64];
        const size_t pos = adicion.find("\n" + std::to_string(num) + " 0 obj\n");
        snprintf(linea, sizeof linea, "%ld 1\n%010zu 00000 n \n", num, desde + pos);
        tabla += linea;
    }
    return tabla + "trailer\n";
}

TEST_F(Motor, ActualizacionByteAByte) {
    for (const Caso& caso : Casos()) {
        SCOPED_TRACE(caso.nombre);
        const Resultado r = Firmar(caso.pdf, caso.opciones);
        ASSERT_TRUE(r.firmado && r.escrito) << r.error;
        const std::string pdf = Apoyo::LeerFichero(salida_);
        EXPECT_EQ(r.bytes, pdf.size());
        EXPECT_EQ(r.nota + r.aviso, "");
        ASSERT_THAT(pdf, StartsWith(caso.pdf + caso.objetos));

        size_t pos = caso.pdf.size() + caso.objetos.size();
        const size_t abre = pdf.find("/Contents <", pos) + 10;
        const size_t tras = abre + 32770;
        char rangos[80];
        snprintf(rangos, sizeof rangos, "0000000000 %010zu %010zu %010zu", abre, tras, pdf.size() - tras);
        EXPECT_EQ(pdf.substr(pos, abre - pos),
                  std::to_string(caso.numeros.back()) + " 0 obj\n<<\n/Type /Sig\n/Filter /Adobe.PPKLite\n" +
                      "/SubFilter /ETSI.CAdES.detached\n/Name (Ana Solis)\n" +
                      "/Location <FEFF00560065006C006D006F00720061>\n" +
                      "/Reason <FEFF004600690072006D006100200064006500200064006F00630075006D0065006E0074006F>\n" +
                      "/M (D:20261115170509+00'00')\n/ByteRange [" + rangos + "]\n/Contents ");
        EXPECT_EQ(pdf[abre], '<');
        const std::string previo = std::to_string(std::atol(caso.pdf.c_str() + caso.pdf.rfind("startxref") + 10));
        const std::string id1 = Lx::Api::BinToHex(Lx::Api::Sha256(caso.pdf).data(), 16);
        EXPECT_EQ(pdf.substr(tras - 1), ">\n>>\nendobj\n" + XrefDe(pdf, caso.pdf.size(), caso.numeros) + "<< /Size " +
                                            std::to_string(caso.numeros.back() + 1) + caso.trailer + " /Prev " +
                                            previo + " /ID [<" + (caso.id0.empty() ? id1 : caso.id0) + "> <" + id1 +
                                            ">] >>\nstartxref\n" + std::to_string(tras + 11) + "\n%%EOF\n");
        const Apoyo::Veredicto veredicto = Apoyo::Juzgar(salida_, identidad_);
        EXPECT_TRUE(veredicto.openssl && veredicto.pdfsig) << veredicto.texto;
    }
}

TEST_F(Motor, LoQueNoSePuedeFirmarSeDiceYNoDejaNada) {
    const std::string catalogo = "<< /Type /Catalog /Pages 2 0 R >>";
    const std::string una = "<< /Type /Pages /Kids [3 0 R] /Count 1 >>";
    const auto con = [&](const std::string& raiz, const std::string& pagina, const std::string& trailer = "") {
        return Documento({raiz, una, pagina}, trailer);
    };
    const auto perderia = [](const std::string& que) {
        return "no se pudo leer " + que + " del PDF: firmar perdería datos.";
    };
    const std::string bueno = con(catalogo, kPagina);
    const Apoyo::Filas<std::string, std::string> filas = {
        {"%PDF-1", entrada_ + " no es un PDF."},
        {"%PDF-1.4\nnada", "el PDF no tiene 'startxref': no es un PDF valido."},
        {bueno + "startxref\n99999999", "el 'startxref' del PDF apunta fuera del fichero."},
        {bueno + "startxref 3", "no se pudo leer el trailer del PDF (xref ilegible)."},
        {Sustituir(bueno, "/Root 1 0 R", "/Root 1"), "el trailer del PDF no tiene /Root."},
        {Sustituir(bueno, "/Root 1 0 R", "/Root 1 0 R /Encrypt 9 0 R"),
         "el PDF está cifrado: los documentos protegidos no se pueden firmar."},
        {"%PDF-1.4\nxref trailer << /Root 1 0 R >> startxref 9",
         "el PDF no contiene objetos legibles (probablemente todo el arbol esta en un ObjStm)."},
        {Sustituir(bueno, "/Root 1 0 R", "/Root 8 0 R"), "el catalogo del PDF no es un diccionario legible."},
        {con("<< /Pages << >> >>", kPagina), "el catalogo no apunta a /Pages por referencia."},
        {con(catalogo, "<< /Type /Otro >>"), "no se localizo ninguna pagina en el arbol del PDF."},
        {con(catalogo, "<< /Type /Page /Annots 2 0 R >>"), perderia("Annots")},
        {con("<< /Pages 2 0 R /AcroForm << /Fields 77 0 R >> >>", kPagina), perderia("Fields")},
        {con("<< /Pages 2 0 R /AcroForm 3 0 R >>", kPagina), perderia("AcroForm")},
    };
    for (const auto& [pdf, error] : filas) {
        SCOPED_TRACE(error + " <- " + pdf.substr(0, 60));
        const Resultado r = Firmar(pdf, {});
        EXPECT_FALSE(r.firmado || r.escrito);
        EXPECT_EQ(r.error, error);
        EXPECT_EQ(r.bytes, 0U);
        EXPECT_NE(access(salida_.c_str(), F_OK), 0);
        EXPECT_EQ(Apoyo::LeerFichero(entrada_), pdf);
    }
    // Neither of these stops a signature: null and a wrong generation are as good as nothing.
    for (const char* raiz : {"<< /Pages 2 0 R /AcroForm null >>", "<< /Pages 2 0 R /AcroForm 3 1 R >>"})
        EXPECT_EQ(Firmar(con(raiz, kPagina, " /Encrypt null"), {}).error, "") << raiz;
}

// The newest trailer goes on, but for what belongs to its own section; the second /ID is always new.
TEST_F(Motor, PorReferenciasElTrailerSeConserva) {
    const Apoyo::Filas<std::string, std::string, std::string> filas = {
        {"/ID [<28 00 29000a41ff5C> <>]", "", ""},
        {"/ID [(\\(\\000\\51\\0\\n\\101\377\\\\) (x)]", "", "280029000A41FF5C"},
        {"/ID 4 0 R", "", "28"},
        {"/ID [(a) 7]", "", ""},
        {"/Info 3 0 R /Type /XRef /W [1] /Index [0 1] /Length 3 /Filter /F /DecodeParms null /DL 3", " /Info 3 0 R",
         ""},
    };
    for (const auto& [trailer, cola, id] : filas) {
        SCOPED_TRACE(trailer);
        const std::string pdf =
            Documento({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [6 0 R] /Count 1 >>", "<< >>",
                       "[5 0 R (b)]", "(\\()", kPagina},
                      " /Prev 0 /Encrypt null " + trailer);
        ASSERT_TRUE(Firmar(pdf, {0, "", true, true}).firmado);
        const std::string todo = Apoyo::LeerFichero(salida_), fin = todo.substr(todo.rfind("trailer\n"));
        const std::string id1 = Lx::Api::BinToHex(Lx::Api::Sha256(pdf).data(), 16);
        EXPECT_THAT(fin, StartsWith("trailer\n<< /Size 10 /Root 1 0 R" + cola + " /Prev " +
                                    std::to_string(pdf.rfind("xref\n0")) + " /ID [<" + (id.empty() ? id1 : id) + "> <" +
                                    id1 + ">] >>"));
        EXPECT_EQ(Apoyo::Ejecutar({"qpdf", "--check", salida_}).codigo, 0);
    }
    // The largest /Size of all sections counts: no number is used twice.
    const std::string una = Sustituir(Casos()[0].pdf, "/Size 4", "/Size 40") + "\n",
                      xref = std::to_string(una.rfind("xref\n0"));
    const std::string dos = una + "xref\n0 0\ntrailer\n<< /Size 4 /Root 1 0 R /Prev " + xref + " >>\nstartxref\n" +
                            std::to_string(una.size()) + "\n%%EOF\n";
    for (const std::string& pdf : {una, dos}) {
        ASSERT_TRUE(Firmar(pdf, {0, "", true, true}).firmado);
        EXPECT_THAT(Apoyo::LeerFichero(salida_), testing::HasSubstr("trailer\n<< /Size 43 /Root"));
    }
}

// Whatever happens to the document between the first byte that is read and the last check, what is signed is what was
// seen.
TEST_F(Motor, UnDocumentoQueCambiaMientrasSeFirmaNoSeFirma) {
    const std::string pdf = Casos()[0].pdf, otro = carpeta_ / "otro.pdf";
    const Apoyo::Filas<std::string, std::function<void()>, bool> filas = {
        {"nothing", [] {}, true},
        {"appended to", [&] { Apoyo::EscribirFichero(entrada_, pdf + "\n"); }, false},
        {"another in its place", [&] { EXPECT_EQ(rename(otro.c_str(), entrada_.c_str()), 0); }, false},
        {"gone", [&] { unlink(entrada_.c_str()); }, false},
    };
    for (const auto& [que, cambiar, firmado] : filas) {
        SCOPED_TRACE(que);
        Apoyo::EscribirFichero(entrada_, pdf);
        Apoyo::EscribirFichero(otro, pdf);
        const Callback firmar = [this, &hacer = cambiar](const auto& datos, std::string& nota) {
            hacer();
            return identidad_.firmar(datos, nota);
        };
        unlink(salida_.c_str());
        const Resultado r = FirmarEn(kHora, entrada_, salida_, identidad_.certificado, kReservaPorDefecto, firmar, {},
                                     {0, "", true, true});
        EXPECT_EQ(r.firmado, firmado) << r.error;
        EXPECT_EQ(r.motivo, firmado ? Lx::Motivo::Ninguno : Lx::Motivo::Cambiado);
        EXPECT_THAT(r.error, testing::HasSubstr(firmado ? "" : "otro programa cambió " + entrada_));
        EXPECT_EQ(access(salida_.c_str(), F_OK) == 0, firmado);
    }
}

// What a later revision may have replaced inside an object stream is not the document's last word: writing it again
// would bring the old page back.
TEST_F(Motor, UnaRevisionComprimidaNoSeDeshace) {
    const std::string flujo = "9 0 obj\n<< /Type /ObjStm /N 1 >>\nendobj\n";
    const std::string pagina = "3 0 obj\n" + std::string(kPagina) + "\nendobj\n";
    const std::string catalogo = "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n";
    const std::string arbol = "2 0 obj\n<< /Type /Pages /Kids [3 0 R] /Count 1 >>\nendobj\n";
    const std::string original = "%PDF-1.5\n" + catalogo + arbol + pagina;
    const auto acabar = [](const std::string& cuerpo) {
        return cuerpo + "8 0 obj\n<< /Type /XRef /Root 1 0 R >>\nendobj\nstartxref\n" + std::to_string(cuerpo.size()) +
               "\n%%EOF\n";
    };
    const Apoyo::Filas<std::string, std::string> filas = {
        {acabar(original + flujo), ""},
        {acabar(acabar(original) + flujo), "el catalogo del PDF no es un diccionario legible."},
        {acabar(acabar(original) + catalogo + flujo), "la pagina de referencia del PDF no es un diccionario legible."},
        {acabar(acabar(acabar(original) + flujo) + catalogo + pagina), ""},
    };
    for (const auto& [pdf, error] : filas) {
        SCOPED_TRACE(pdf);
        for (const int modo : {0, 1, 3}) EXPECT_EQ(Firmar(pdf, {modo, ""}).error, error);
    }
}

TEST_F(Motor, CertificadoReservaYRespuestaDeLaClave) {
    Apoyo::EscribirFichero(entrada_, Casos()[3].pdf);
    const Lx::X509::Certificado& bueno = identidad_.certificado;
    const Lx::X509::Certificado eliptico = Apoyo::CrearIdentidad(carpeta_.Ruta(), {.clave = "ec"}).certificado;
    Lx::X509::Certificado invalido = bueno;
    invalido.valid = false;
    const auto contesta = [](size_t bytes, const char* motivo) {
        return [=](const auto&, std::string& nota) {
            nota = motivo;
            return std::vector<unsigned char>(bytes);
        };
    };
    const std::string noHay = "no hay certificado valido para firmar.";
    const Apoyo::Filas<Lx::X509::Certificado, size_t, Callback, std::string> filas = {
        {invalido, 8192, identidad_.firmar, noHay},
        {bueno, 511, identidad_.firmar, noHay},
        {eliptico, 8192, identidad_.firmar,
         "el certificado elegido no es de firma RSA; este motor solo firma con RSA \\(PKCS#1 v1.5 \\+ SHA-256\\)."},
        {bueno, 8192, contesta(0, "sin tarjeta"), "sin tarjeta"},
        {bueno, 512, identidad_.firmar, "el CMS \\([0-9]+ B\\) no cabe en la reserva de 512 B."},
        {bueno, 8192, contesta(20000, ""), "el CMS final \\([0-9]+ B\\) supera la reserva de 16384 B."},
    };
    for (const auto& [cert, reserva, firmar, error] : filas) {
        const Resultado r = FirmarEn(kHora, entrada_, salida_, cert, reserva, firmar, {}, {});
        EXPECT_FALSE(r.firmado || r.escrito);
        EXPECT_THAT(r.error, testing::MatchesRegex(error));
        EXPECT_EQ(r.nota, "el documento ya contenia 2 firma(s); se anade otra sin alterar las anteriores.");
        EXPECT_NE(access(salida_.c_str(), F_OK), 0);
    }
}

TEST_F(Motor, FallosDeLosFicheros) {
    EXPECT_EQ(FirmarA(salida_).error, "no se pudo leer " + entrada_ + ".");
    Apoyo::EscribirFichero(entrada_, Casos()[0].pdf);
    EXPECT_EQ(FirmarA(carpeta_ / "no/hay.pdf").motivo, Lx::Motivo::SalidaImposible);
    EXPECT_EQ(FirmarA(entrada_).motivo, Lx::Motivo::SalidaEsEntrada);
    const Resultado r = FirmarA("/dev/full");
    EXPECT_EQ(r.error, "escritura incompleta de /dev/full.");
    EXPECT_FALSE(r.escrito || r.firmado);
}

}  // namespace
}  // namespace LxPdfSigner::Interno
