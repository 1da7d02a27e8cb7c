#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include "signer/LxPdfSigner.h"
#include "signer/Motor.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using Apoyo::CarpetaTemporal;
using Apoyo::LeerFichero;
using LxPdfSigner::Callback;
using LxPdfSigner::Resultado;
using namespace testing;

constexpr char kUtc[] = "261115170509Z";

class Crear : public testing::Test {
  protected:
    const CarpetaTemporal carpeta_;
    const Apoyo::Identidad& identidad_ = Apoyo::IdentidadComun();
    const std::string salida_ = carpeta_ / "nuevo.pdf";

    Resultado CrearCon(const std::string& nombre) {
        return LxPdfSigner::Interno::CrearEn(kUtc, salida_, nombre, identidad_.certificado, 8192, identidad_.firmar,
                                             {nombre, nombre, nombre});
    }
};

TEST_F(Crear, LosJuecesLoAceptan) {
    const Resultado r =
        LxPdfSigner::Crear(salida_, "Acta del año: 20 € (ñandú)", identidad_.certificado, identidad_.firmar, {}, 8192);
    EXPECT_TRUE(r.escrito && r.firmado);
    EXPECT_TRUE(r.estampa.pagina == 0 && r.estampa.arriba == 770 && r.estampa.abajo == 802);
    EXPECT_EQ(r.error + r.aviso + r.nota, "");
    EXPECT_EQ(r.bytes, LeerFichero(salida_).size());
    EXPECT_TRUE(Apoyo::PdfValido(salida_, identidad_));
    EXPECT_THAT(Apoyo::Exigir({"pdftotext", "-raw", salida_, "-"}),
                StartsWith("Acta del año: 20 € (ñandú)\nFirmado digitalmente por:\nAna Núñez Peña\nFecha: "));
}

TEST_F(Crear, NombresRarosNoRompenElDocumento) {
    const Apoyo::Filas<const char*, const char*> casos = {
        {"Ana \r\n)(S.A.\\", "Ana )(S.A.\\"},
        {"\xFF\xC3\xB1\xE2\x82", "?ñ?"},
        {"Łukasz “Ž” 漢", "?ukasz “Ž” ?"},
    };
    for (const auto& [nombre, visto] : casos) {
        SCOPED_TRACE(visto);
        ASSERT_TRUE(CrearCon(nombre).firmado);
        EXPECT_TRUE(Apoyo::PdfValido(salida_, identidad_));
        // In raw order: once as the page's text, once as the stamp's second line.
        const std::string texto = Apoyo::Exigir({"pdftotext", "-raw", salida_, "-"});
        EXPECT_THAT(texto, StartsWith(visto));
        EXPECT_THAT(texto, HasSubstr("por:\n" + std::string(visto) + "\nFecha: 2026-11-15 17:05:09 UTC"));
        const std::string pdf = LeerFichero(salida_);
        EXPECT_THAT(pdf, HasSubstr("/M (D:20261115170509+00'00')"));
        EXPECT_THAT(pdf, HasSubstr("/Extensions << /ESIC << /BaseVersion /1.7 /ExtensionLevel 1 >> >>"));
    }
}

TEST_F(Crear, SinFirmaDejaElDocumento) {
    // Offsets and lengths counted by hand; qpdf agrees below.
    const std::string esperado =
        "%PDF-1.4\n"
        "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n"
        "2 0 obj\n<< /Type /Pages /Kids [3 0 R] /Count 1 >>\nendobj\n"
        "3 0 obj\n<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 4 0 R >> >> "
        "/Contents 5 0 R >>\nendobj\n"
        "4 0 obj\n<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>\nendobj\n"
        "5 0 obj\n<< /Length 40 >>\nstream\nBT\n/F1 24 Tf\n72 720 Td\n(A\xF1o \\(1\\)) Tj\nET\nendstream\nendobj\n"
        "xref\n0 6\n0000000000 65535 f \n0000000009 00000 n \n0000000058 00000 n \n0000000115 00000 n \n"
        "0000000241 00000 n \n0000000338 00000 n \ntrailer\n<< /Size 6 /Root 1 0 R >>\nstartxref\n428\n%%EOF\n";
    const Callback explica = [](const auto&, std::string& nota) {
        nota = "PIN bloqueado.";
        return std::vector<unsigned char>{};
    };
    const auto& rsa = identidad_.certificado;
    // The reserve, the key, how the error begins.
    const Apoyo::Filas<size_t, Callback, const char*> casos = {
        {511, identidad_.firmar, "PDF escrito sin firma."},
        {512, identidad_.firmar, "el CMS ("},
        {8192, explica, "PIN bloqueado."},
    };
    for (const auto& [reserva, firmar, error] : casos) {
        const Resultado r = LxPdfSigner::Crear(salida_, "Año (1)", rsa, reserva, firmar, {});
        EXPECT_TRUE(r.escrito && !r.firmado);
        EXPECT_THAT(r.error, StartsWith(error));
        EXPECT_EQ(LeerFichero(salida_), esperado);
    }
    Apoyo::Exigir({"qpdf", "--check", salida_});
    const Resultado r = LxPdfSigner::Crear("/no/hay.pdf", "Hola", rsa, 8192, identidad_.firmar, {});
    EXPECT_FALSE(r.escrito || r.firmado);
    EXPECT_EQ(r.error, "no se pudo abrir /no/hay.pdf para escritura.");
    // No room: half a document must not stay.
    const auto estrecho = [&] {
        const rlimit poco{200, 200};
        signal(SIGXFSZ, SIG_IGN);
        if (setrlimit(RLIMIT_FSIZE, &poco) != 0) return false;
        const Resultado f = LxPdfSigner::Crear(carpeta_ / "f.pdf", "Hola", {}, 8192, nullptr, {});
        return !f.escrito && f.motivo == Lx::Motivo::SalidaIncompleta &&
               f.error == "escritura incompleta de " + (carpeta_ / "f.pdf") + ".";
    };
    EXPECT_EQ(Apoyo::Aparte(estrecho), 0);
    EXPECT_NE(access((carpeta_ / "f.pdf").c_str(), F_OK), 0);
}

// With options the document is signed or it isn't there.
TEST_F(Crear, EnteroONada) {
    int hojas = 0;
    const auto crear = [&](const Callback& firmar, const LxPdfSigner::Opciones& opciones) {
        const std::string texto = "Hoja " + std::to_string(++hojas);
        return LxPdfSigner::Crear(salida_, texto, identidad_.certificado, firmar, {}, opciones);
    };
    const Callback calla = [](const auto&, std::string&) { return std::vector<unsigned char>{}; };
    const Apoyo::Filas<Callback, bool, std::string> casos = {
        {nullptr, false, "no hay certificado valido para firmar."},
        {calla, false, "la tarjeta no firmo."},
        {identidad_.firmar, false, ""},
        {identidad_.firmar, false, "ya existe " + salida_ + ": no se sustituye."},
        {calla, true, "la tarjeta no firmo."},
        {identidad_.firmar, true, ""},
    };
    std::string antes;
    for (const auto& [firmar, reemplazar, error] : casos) {
        const Resultado r = crear(firmar, {1, "", false, reemplazar});
        EXPECT_EQ(r.error, error);
        EXPECT_EQ(r.escrito && r.firmado && r.salida == salida_ && r.motivo == Lx::Motivo::Ninguno, error.empty());
        const std::string ahora = LeerFichero(salida_);
        EXPECT_EQ(ahora != antes, error.empty());
        EXPECT_TRUE(ahora.empty() || Apoyo::PdfValido(salida_, identidad_));
        antes = ahora;
    }
    Lx::Control control;
    control.Cancelar();
    EXPECT_EQ(crear(identidad_.firmar, {1, "", false, true, {}, &control}).motivo, Lx::Motivo::Cancelado);
    EXPECT_EQ(LeerFichero(salida_), antes);
}

}  // namespace
