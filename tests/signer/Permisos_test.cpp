// What earlier signatures and the form allow: documents certified and locked over signatures that openssl made.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "crypto/LxApi.h"
#include "signer/LxExamen.h"
#include "signer/LxPdfSigner.h"
#include "signer/PdfFrases.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdfSigner {
namespace {

using namespace testing;

constexpr size_t kHueco = 6000;  // digits of /Contents

std::string Entrada(const std::string& metodo, const std::string& params) {
    return "<< /TransformMethod /" + metodo + " /TransformParams << /V /1.2 " + params + " >> >>";
}
std::string Referencia(const std::string& metodo, const std::string& params) {
    return "/Reference [" + Entrada(metodo, params) + "]";
}

// What is added to the catalogue (1), to the signed field (5) and to its signature (6), and objects in place of others
// or behind them.
struct Partes {
    std::string raiz, campo, firma;
    std::map<size_t, std::string> objetos = {};
};

// A document with a signature field "Cert", signed by Eva, and a real signature over it.
std::string Firmado(const Partes& p, const Apoyo::Identidad& id) {
    std::vector<std::string> objetos = {
        "<< /Type /Catalog /Pages 2 0 R /AcroForm 4 0 R " + p.raiz + " >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Annots [5 0 R] >>",
        "<< /Fields [5 0 R] /SigFlags 3 >>",
        "<< /Type /Annot /Subtype /Widget /FT /Sig /T (Cert) /V 6 0 R /Rect [0 0 0 0] /F 132 /P 3 0 R " + p.campo +
            " >>",
        "<< /Type /Sig /Filter /Adobe.PPKLite /SubFilter /ETSI.CAdES.detached /Name (Eva) "
        "/M (D:20251231235959+01'00') " +
            p.firma + " /ByteRange [0000000000 0000000000 0000000000 0000000000] /Contents <" +
            std::string(kHueco, '0') + "> >>"};
    for (const auto& [num, texto] : p.objetos) {
        if (num > objetos.size()) objetos.resize(num, "null");
        objetos[num - 1] = texto;
    }
    std::string pdf = Apoyo::PdfDe(objetos);
    const size_t rangos = pdf.find("/ByteRange [") + 12, abre = pdf.find(std::string(kHueco, '0')) - 1;
    const size_t tras = abre + kHueco + 2;
    char texto[48];
    snprintf(texto, sizeof texto, "0000000000 %010zu %010zu %010zu", abre, tras, pdf.size() - tras);
    pdf.replace(rangos, 43, texto);
    const std::string cms = Apoyo::Exigir({"openssl", "cms", "-sign", "-binary", "-cades", "-md", "sha256", "-outform",
                                           "DER", "-signer", id.cert, "-inkey", id.clave},
                                          pdf.substr(0, abre) + pdf.substr(tras));
    const std::string hex = Lx::Api::BinToHex(cms.data(), cms.size());
    return pdf.replace(abre + 1, hex.size(), hex);
}

struct Caso {
    std::string que;
    Partes partes;
    std::string resultado;   // the reason of a refusal, or those of the warnings
    std::string frase = {};  // a part of its sentence
    int modo = 1;
    size_t firmas = 1;   // that the document has
    bool pdfsig = true;  // finds them
};

class PermisosDe : public testing::Test {
  protected:
    Resultado Firmar(int modo, const Callback& firmar) {
        pedidas_ = 0;
        const auto contar = [&](const std::vector<unsigned char>& datos, std::string& nota) {
            ++pedidas_;
            return firmar(datos, nota);
        };
        return LxPdfSigner::Firmar(entrada_, salida_, id_.certificado, contar, {}, {modo, "", true, true});
    }
    void Comprobar(const std::vector<Caso>& casos) {
        for (const Caso& caso : casos) {
            SCOPED_TRACE(caso.que);
            const bool rechazado = caso.resultado.starts_with("Certificado");
            Apoyo::EscribirFichero(entrada_, Firmado(caso.partes, id_));
            unlink(salida_.c_str());
            // What is known of earlier signatures is said when the key fails.
            const Resultado sin =
                Firmar(caso.modo, [](const auto&, std::string&) { return std::vector<unsigned char>(); });
            const std::string ya = "el documento ya contenia " + std::to_string(caso.firmas) + " firma(s)";
            EXPECT_THAT(sin.nota, StartsWith(caso.firmas == 0 ? "" : ya));
            EXPECT_EQ(sin.nota.empty(), caso.firmas == 0);
            const Resultado r = Firmar(caso.modo, id_.firmar);
            std::string codigos(Lx::NombreDe(r.motivo)), frases;
            for (const Lx::Aviso& aviso : r.avisos) {
                codigos += (codigos.empty() ? "" : " ") + std::string(Lx::NombreDe(aviso.motivo));
                frases += (frases.empty() ? "" : " ") + aviso.frase;
            }
            EXPECT_EQ(codigos, caso.resultado) << r.error;
            if (caso.modo == kPrimera) ComprobarExamen(r, caso.firmas);
            EXPECT_EQ(r.aviso, frases);
            EXPECT_THAT(r.error + r.aviso, HasSubstr(caso.frase));
            EXPECT_EQ(rechazado, !r.error.empty());
            EXPECT_EQ(rechazado, !r.firmado && !r.escrito);
            EXPECT_EQ(pedidas_, rechazado ? 0 : 1);
            EXPECT_EQ(access(salida_.c_str(), F_OK) != 0, rechazado);
            EXPECT_TRUE(rechazado || !caso.pdfsig || Apoyo::PdfValido(salida_, id_, 2));
        }
    }

    // Who only asks hears what who signs would.
    void ComprobarExamen(const Resultado& r, size_t firmas) {
        Lx::Control control;
        const Examinado e = Examinar(entrada_, control);
        EXPECT_EQ(e.impedimento.frase, r.error);
        EXPECT_EQ(e.impedimento.motivo, r.motivo);
        std::string frases;
        for (const Lx::Aviso& aviso : e.avisos) frases += (frases.empty() ? "" : " ") + aviso.frase;
        EXPECT_EQ(frases, r.aviso);
        EXPECT_EQ(e.firmas.size(), firmas);
        // The certificate has the word, whatever the document calls its signer.
        if (firmas > 0) {
            EXPECT_EQ(e.firmas.at(0).nombre, id_.certificado.subjectCN);
        }
        EXPECT_EQ(e.paginas, 1);
    }

    const Apoyo::Identidad& id_ = Apoyo::IdentidadComun();
    Apoyo::CarpetaTemporal carpeta_;
    const std::string entrada_ = carpeta_ / "entrada.pdf", salida_ = carpeta_ / "salida.pdf";
    int pedidas_ = 0;
};

const std::string kPerms = "/Perms << /DocMDP 6 0 R >>";
constexpr const char* kSegunEva = "(según el documento, lo certificó Eva el 31-12-2025)";

TEST_F(PermisosDe, LoCertificadoSeRespeta) {
    const auto p = [](const char* nivel) { return Referencia("DocMDP", nivel); };
    const std::string uno = p("/P 1"),
                      dos = "/Reference [" + Entrada("DocMDP", "/P 3") + Entrada("DocMDP", "/P 1") + "]";
    const std::string otra = "<< /FT /Sig /T (Otra) /V << /Type /Sig /Name (Ana) " + uno + " >> >>";
    const std::string vacio = "<< /FT /Sig /T (b) /Lock << /Action /All /P 1 >> >>";
    const std::pair<const size_t, std::string> dosCampos = {4, "<< /Fields [5 0 R 7 0 R] >>"};
    const std::map<size_t, std::string> indirecta = {{7, "[8 0 R]"},
                                                     {8, "<< /TransformMethod 9 0 R /TransformParams 10 0 R >>"},
                                                     {9, "/DocMDP"},
                                                     {10, "<< /P 11 0 R >>"},
                                                     {11, "1"}};
    Comprobar({
        {"P 1", {kPerms, "", uno}, "Certificado", kSegunEva},
        {"P 2", {kPerms, "", p("/P 2")}, "SelloEnCertificado", "sello visible"},
        {"P 2, invisible", {kPerms, "", p("/P 2")}, "", "", 0},
        {"P 3", {kPerms, "", p("/P 3")}, ""},
        {"P 0", {kPerms, "", p("/P 0")}, "Extrano SelloEnCertificado"},
        {"no /Reference", {kPerms, "", ""}, "SelloEnCertificado"},
        {"no /Perms", {"", "", uno}, "Certificado", kSegunEva},
        {"the strictest of two", {"", "", dos}, "Certificado"},
        {"another signature", {"", "", p("/P 3"), {dosCampos, {7, otra}}}, "Certificado", "lo certificó Ana)", 1, 2},
        {"only in /Perms", {"/Perms 7 0 R", "", "", {{7, "<< /DocMDP << " + uno + " >> >>"}}}, "Certificado"},
        {"all of it indirect", {"", "", "/Reference 7 0 R", indirecta}, "Certificado"},
        {"a field without a signature", {"", "", "", {dosCampos, {7, vacio}}}, "CamposVacios"},
    });
}

TEST_F(PermisosDe, LosCerrojosSeNombran) {
    const auto mdp = [](const std::string& params) { return Partes{"", "", Referencia("FieldMDP", params)}; };
    const auto lock = [](const std::string& dict) {
        return Partes{"", "/Lock << /Type /SigFieldLock " + dict + " >>", ""};
    };
    const std::string bloqueo = "La firma del campo \"Cert\" bloquea";
    Comprobar({
        {"all", mdp("/Action /All"), "CampoBloqueado", bloqueo},
        {"exclude others", mdp("/Action /Exclude /Fields [(Otro)]"), "CampoBloqueado", bloqueo},
        {"exclude the new one", mdp("/Action /Exclude /Fields [(Signature1)]"), ""},
        {"with P 2", mdp("/Action /Include /Fields [(a)] /P 2"), "SelloEnCertificado"},
        {"/Lock", lock("/Action /All"), "CampoBloqueado", bloqueo},
        {"/Lock with P 3", lock("/Action /All /P 3"), "CampoBloqueado", bloqueo},
        {"/Lock elsewhere", {"", "/Lock 7 0 R", "", {{7, "<< /Action 8 0 R >>"}, {8, "/All"}}}, "CampoBloqueado"},
    });
    const Apoyo::Filas<std::string, const char*> nombres = {
        {"(Signature1)", "Signature2"},
        {"(Signature2) <FEFF005300690067006E0061007400750072006500310020>", "Signature1"},
        {"(Signature2) <FEFF005300690067006E006100740075007200650031>", "Signature3"},
        {"7 0 R (Signature2)", "Signature3"}};
    for (const auto& [lista, nombre] : nombres) {
        Partes partes = mdp("/Action /Include /Fields [" + lista + "]");
        partes.objetos[7] = "(Signatur\\1451)";
        Comprobar({{lista, partes, ""}});
        EXPECT_THAT(Apoyo::LeerFichero(salida_), HasSubstr("/T (" + std::string(nombre) + ")"));
    }
    // A list of very many names is looked through once.
    std::string muchos;
    for (int i = 1; i <= 100'000; ++i) muchos += "(Signature" + std::to_string(i) + ")";
    Comprobar({{"100,000 names", mdp("/Action /Include /Fields [" + muchos + "]"), ""}});
    EXPECT_THAT(Apoyo::LeerFichero(salida_), HasSubstr("/T (Signature100001)"));
    const LxPdf::Permisos::Cerrojo padre{"x", "Include", {"a.b"}};
    const Apoyo::Filas<const char*, bool> debajo = {{"a.b", true}, {"a.b.c", true}, {"a.bc", false}, {"a", false}};
    for (const auto& [nombre, bloqueado] : debajo) EXPECT_EQ(Interno::Bloquea(padre, nombre), bloqueado) << nombre;
}

TEST_F(PermisosDe, LosCamposVaciosYLoQueOtrosProgramasDiran) {
    const auto campos = [](const std::string& lista, std::map<size_t, std::string> objetos) {
        objetos[4] = "<< /SigFlags 3 /Fields [" + lista + "] >>";
        return Partes{"", "", "", std::move(objetos)};
    };
    const std::string vacio = "<< /FT /Sig /T (Jefe) >>", hijo = "<< /Subtype /Widget /Parent 7 0 R /Rect [0 0 0 0] ";
    const std::string formulario = "<< /XFA (x) /Fields ";
    const std::pair<const size_t, std::string> sinNotas = {3, "<< /Type /Page /Parent 2 0 R >>"};
    Comprobar({
        {"one empty", campos("5 0 R 7 0 R", {{7, vacio}}), "CamposVacios", "un campo de firma sin firmar (\"Jefe\")"},
        {"null, dangling and a number",
         campos("5 0 R 7 0 R 8 0 R 9 0 R", {{7, "<< /FT /Sig /T (a) /V null >>"},
                                            {8, "<< /FT /Sig /T (b) /V 99 0 R >>"},
                                            {9, "<< /FT /Sig /T (c) /V 3 >>"}}),
         "CamposVacios", "campos de firma sin firmar (\"a\", \"b\", \"c\")"},
        {"of kids, with what they inherit",
         campos("7 0 R", {{7, "<< /FT 10 0 R /T (p) /Kids [5 0 R 8 0 R] >>"}, {8, hijo + "/T (<) >>"}, {10, "/Sig"}}),
         "CamposVacios", "(\"p.<\")", 1, 1, false},
        {"fields of another type", campos("5 0 R 7 0 R", {{7, "<< /FT /Tx /T (texto) >>"}}), ""},
        {"usage rights, in the signature", {"", "", Referencia("UR3", "/Document [/FullSave]")}, "DerechosDeUso"},
        {"usage rights and certified",
         {kPerms, "", "/Reference [" + Entrada("UR3", "") + Entrada("DocMDP", "/P 2") + "]"},
         "SelloEnCertificado DerechosDeUso"},
        {"XFA alone", {"", "", "", {{4, formulario + "[] >>"}, sinNotas}}, "FormularioXfa", "", 1, 0, false},
        {"XFA beside a form", {"", "", "", {{4, formulario + "[5 0 R] >>"}}}, ""},
        {"XFA that wants to be drawn", {"/NeedsRendering true", "", ""}, "FormularioXfa"},
    });
}

// Who and when are the document's words: they go into one line, and no further than they reach.
TEST_F(PermisosDe, LoQueElDocumentoDiceDeSiVaEnUnaFrase) {
    const std::string enye = std::string(79, 'a') + "\\361" + std::string(40, 'b');
    const Apoyo::Filas<std::string, std::string> filas = {
        {"/Name (Eva\\n\\000\\007[2J\\177z) /M (D:20240229)",
         " (según el documento, lo certificó Eva [2J z el 29-02-2024): "},

        {"/Name (" + enye + ")", " lo certificó " + std::string(79, 'a') + "… el 31-12-2025): "},
        {"/Name null", " (según el documento, se certificó el 31-12-2025): "},
        {"/M (ayer)", " lo certificó Eva el ayer): "},
        {"/Name 7 /M [1]", "tampoco otra firma: "},
    };
    for (const auto& [firma, frase] : filas) {
        Comprobar({{firma, {kPerms, "", firma + Referencia("DocMDP", "/P 1")}, "Certificado", frase}});
    }
}

}  // namespace
}  // namespace LxPdfSigner
