// Signing and creating: where the result goes, what is never lost, and which certificate signs.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "tests/cli/Entorno.h"

namespace PruebaCli {

namespace fs = std::filesystem;
using testing::HasSubstr;

class FirmarDocumentos : public Cli {};

TEST_F(FirmarDocumentos, ElResultadoLoAceptanTodos) {
    ASSERT_EQ(Guion("mkdir sub; qpdf --object-streams=generate contrato.pdf flujo.pdf").codigo, 0);
    const std::string original = Leer("contrato.pdf");
    const Apoyo::Filas<const char*, std::string, size_t, const char*> filas = {
        {"contrato.pdf", "contrato_firmao.pdf", 1, "/AP << /N"},
        {"contrato.pdf", "contrato_firmao2.pdf", 1, "/AP << /N"},
        {"--sello=invisible contrato_firmao.pdf", "contrato_firmao_firmao.pdf", 2, "/Rect [0 0 0 0]"},
        {"flujo.pdf", "flujo_firmao.pdf", 1, "/AP << /N"},
        {"--sello=todas --directorio=sub contrato.pdf", "sub/contrato_firmao.pdf", 1, "/AP << /N"},
        {"--nombre=Otro --salida=otro contrato.pdf", "otro", 1, "/Name (Otro)"},
    };
    for (const auto& [opciones, salida, firmas, contiene] : filas) {
        SCOPED_TRACE(opciones);
        const Apoyo::Salida s = Correr(0, std::string("firmar $ID ") + opciones);
        const std::string pdf = Leer(salida);
        EXPECT_EQ(s.texto, "");
        EXPECT_EQ(s.errores, "Firmando con Ana Núñez Peña ...\nFirmado: " + salida + "  (" +
                                 std::to_string(pdf.size()) + " bytes)\n");
        EXPECT_EQ(Apoyo::FirmasDe(pdf).size(), firmas);
        // pdfsig calls a certificate that it meets a second time in one file an unknown issue.
        const Apoyo::Veredicto v = Apoyo::Juzgar(En(salida), *identidad_);
        EXPECT_TRUE((v.pdfsig || firmas > 1) && v.openssl && v.qpdf) << v.texto;
        EXPECT_THAT(pdf, HasSubstr(contiene));
    }
    EXPECT_EQ(Leer("contrato.pdf"), original);
}

TEST_F(FirmarDocumentos, UnDocumentoMaloNoParaALosDemas) {
    Escribir("malo.pdf", "esto no es nada");
    ASSERT_EQ(Guion("sed 's|/Root|/Encrypt << >> /Root|' contrato.pdf >cifrado.pdf; cp contrato.pdf ñ.pdf; "
                    "qpdf --object-streams=generate contrato.pdf flujo.pdf")
                  .codigo,
              0);
    const Apoyo::Salida s =
        Correr(1, "firmar $ID --json --sello=12-15 malo.pdf contrato.pdf nada.pdf cifrado.pdf flujo.pdf . ñ.pdf",
               "Firmados 3 de 7 documentos.");
    EXPECT_EQ(DeJson(s.texto, "[e['motivo'] or (e['salida'], e['firmado']) for e in d['documentos']]"),
              "['NoEsPdf', ('contrato_firmao.pdf', True), 'NoSeLee', 'Cifrado', ('flujo_firmao.pdf', True), 'NoSeLee', "
              "('ñ_firmao.pdf', True)]");
    EXPECT_EQ(DeJson(s.texto, "d['documentos'][1]['bytes']"), std::to_string(Leer("contrato_firmao.pdf").size()));
    EXPECT_EQ(
        DeJson(s.texto, "[(a['motivo'], a['frase'] == e['aviso']) for e in d['documentos'] for a in e['avisos']]"),
        "[('PaginasInvalidas', True), ('PaginasInvalidas', True), ('PaginasInvalidas', True)]");
    EXPECT_EQ(
        DeJson(s.texto, "d['documentos'][1]['aviso']"),
        "stampList \"12-15\" no contiene indices validos para este documento (1 paginas); se usa firma invisible.");
    for (const char* frase :
         {"No firmado: malo.pdf: malo.pdf no es un PDF.", "nada.pdf. Motivo: no existe.", ". es una carpeta.",
          "Consejo: comprueba que es el documento", "Consejo: comprueba que es un fichero",
          "Consejo: pide a quien lo hizo", "Aviso: contrato.pdf: stampList"})
        EXPECT_THAT(s.errores, HasSubstr(frase));
    EXPECT_THAT(Nuevos(), testing::ElementsAre("cifrado.pdf", "contrato_firmao.pdf", "flujo.pdf", "flujo_firmao.pdf",
                                               "malo.pdf", "ñ.pdf", "ñ_firmao.pdf"));
}

TEST_F(FirmarDocumentos, NadaDeLoQueHabiaSePierde) {
    Guion(
        "echo antes >antes.pdf; ln contrato.pdf duro.pdf; ln -s contrato.pdf enlace.pdf; ln -s nada roto.pdf; "
        "mkdir carpeta; echo nada >malo.pdf; echo otro >otro; ln -s otro alotro.pdf; mkfifo tubo");
    const Nombres antes = Nuevos();
    const std::string intacto = Leer("contrato.pdf");
    const std::string imposible = "SalidaImposible. Consejo: elige otro nombre, o una carpeta",
                      ocupado = "SalidaExiste. Consejo: elige otro nombre. Con",
                      ajeno = "SalidaAjena. Consejo: elige otro nombre: lo que hay",
                      original = "SalidaEsEntrada. Consejo: elige otro nombre para",
                      malo = "NoEsPdf. Consejo: comprueba que es el documento";
    const Apoyo::Filas<std::string, const char*, std::string> filas = {
        {"--salida=antes.pdf contrato.pdf", "ya existe antes.pdf", ocupado},
        {"--salida=roto.pdf contrato.pdf", "roto.pdf ya existe y no es un fichero normal", ajeno},
        {"--salida=alotro.pdf --forzar contrato.pdf", "no es un fichero normal", ajeno},
        {"--salida=tubo --forzar contrato.pdf", "no es un fichero normal", ajeno},
        {"--salida=antes.pdf --forzar malo.pdf", "no es un PDF", malo},
        {"--salida=contrato.pdf --forzar contrato.pdf", "es el propio documento", original},
        {"--salida=./duro.pdf --forzar contrato.pdf", "es el propio documento", original},
        {"--salida=enlace.pdf --forzar contrato.pdf", "es el propio documento", original},

        {"--salida=/dev/null --forzar contrato.pdf", "no es un fichero normal", ajeno},
        {"--salida=carpeta/ contrato.pdf", "no es un nombre de fichero", imposible},
        {"--salida=nada/x.pdf contrato.pdf", "no se pudo abrir nada/x.pdf para escritura. Motivo: no existe.",
         imposible},
        {"--salida=" + std::string(300, 'a') + " contrato.pdf", "el nombre es demasiado largo", imposible},
    };
    for (const auto& [opciones, frase, consejo] : filas) {
        const Apoyo::Salida s = Correr(1, "firmar --json $ID " + opciones, frase);
        const std::string dicho = s.errores.substr(std::min(s.errores.find("Consejo: "), s.errores.size()));
        EXPECT_THAT(DeJson(s.texto, "d['documentos'][0]['motivo']") + ". " + dicho, testing::StartsWith(consejo));
        EXPECT_EQ(Leer("antes.pdf"), "antes\n") << opciones;
        EXPECT_EQ(Leer("contrato.pdf"), intacto) << opciones;
        EXPECT_EQ(Nuevos(), antes) << opciones;
    }
    const std::string crear = "crear --texto=Hola $ID --salida=antes.pdf";
    Correr(1, crear, "ya existe antes.pdf");
    EXPECT_EQ(Leer("antes.pdf"), "antes\n");
    Correr(0, crear + " --forzar");
    EXPECT_TRUE(Apoyo::PdfValido(En("antes.pdf"), *identidad_));
}

TEST_F(FirmarDocumentos, ForzarSustituyeYElUltimoNombreNoSePisa) {
    Guion("echo antes >real.pdf; chmod 640 real.pdf");
    Correr(0, "firmar $ID --salida=real.pdf --forzar contrato.pdf");
    EXPECT_TRUE(Apoyo::PdfValido(En("real.pdf"), *identidad_));
    EXPECT_EQ(fs::status(En("real.pdf")).permissions(), fs::perms(0640));
    Escribir("contrato_firmao.pdf", "");
    for (int i = 2; i <= 999; ++i) Escribir("contrato_firmao" + std::to_string(i) + ".pdf", "");
    Correr(1, "firmar $ID contrato.pdf", "hasta la número 999: no se sustituye ninguna.");
    EXPECT_EQ(Leer("contrato_firmao999.pdf"), "");
}

// Another process takes the chosen name while the key signs.
TEST_F(FirmarDocumentos, UnNombreOcupadoMientrasTantoNoSePisa) {
    PonerOpenssl("case $1 in dgst) echo ajeno >contrato_firmao.pdf; echo ajeno >dado.pdf;; esac; exec $REAL \"$@\"");
    Correr(0, "firmar $ID contrato.pdf");
    EXPECT_EQ(Leer("contrato_firmao.pdf"), "ajeno\n");
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao2.pdf"), *identidad_));
    fs::remove(En("dado.pdf"));
    Correr(1, "firmar $ID --salida=dado.pdf contrato.pdf", "ya existe dado.pdf");
    EXPECT_EQ(Leer("dado.pdf"), "ajeno\n");
}

// --- Which certificate

class Eleccion : public Cli {
  protected:
    // Real certificates, offered by a stand-in for the tool, all with the identity's key.
    void SetUp() override {
        Cli::SetUp();
        const Apoyo::Salida s = Guion("set -e; exec 2>&1; K=" + identidad_->clave + R"(
            hoja() {
                openssl req -new -utf8 -key $K -subj "/CN=$1" >r.csr
                openssl x509 -req -in r.csr -signkey $K -set_serial $2 -days $3 >>lista.pem
            }
            hoja 'Berta Vieja' 8 -1
            hoja 'Ana María Ñañez' 0x00AB12 30
            hoja 'Berta Ruiz' 7 30
            openssl req -x509 -key $K -subj /CN=Entidad -set_serial 9 -days 30 >>lista.pem
            rm r.csr)");
        ASSERT_EQ(s.codigo, 0) << s.texto;
        PonerOpenssl("case \"$*\" in *-nokeys*) cat " + En("lista.pem") + ";; *) exec $REAL \"$@\";; esac");
    }
};

TEST_F(Eleccion, PorNumeroSerieONombre) {
    const std::string ana = "Firmando con Ana María Ñañez ...", ninguno = "ningún certificado tiene";
    const Apoyo::Filas<std::string, int, std::string, const char*> filas = {
        {"1", 0, ana, ""},
        {"0", 3, ninguno, ""},
        {"00:AB:12", 0, ana, ""},
        {"ñañez", 3, ninguno, ""},  // only ASCII letters have two cases here
        {"ÑAñEZ", 0, ana, ""},
        {"María Ñ", 0, ana, ""},
        {"7", 0, "Firmando con Berta Ruiz ...", ""},      // past the list's end, so a serial number
        {"berta", 0, "Firmando con Berta Ruiz ...", ""},  // the other one is expired
        {"Vieja", 3, "el certificado de Berta Vieja caducó el ", "añade --aunque caducado."},
        {"Vieja' --aunque 'ca", 3, "añade --aunque caducado.", ""},
        {"Vieja' --aunque 'caducado", 0, "Firmando con Berta Vieja ...", "se firma aunque el certificado de"},
        {"entidad' --aunque caducado --aunque 'ca", 0, "Firmando con Entidad ...", "autoridad de certificación"},

        {"z", 3, "hay 2 certificados utilizables con \"z\"", ""},
    };
    for (const auto& [cual, codigo, dice, aviso] : filas) {
        SCOPED_TRACE(cual);
        const Apoyo::Salida s =
            Correr(codigo, "firmar $ID --certificado '" + cual + "' --salida=s.pdf contrato.pdf", dice);
        EXPECT_THAT(s.errores, HasSubstr(aviso));
        EXPECT_EQ(fs::remove(En("s.pdf")), codigo == 0);
    }
}

TEST_F(Eleccion, SinDecirCualSeMuestranTodos) {
    const Apoyo::Salida s =
        Correr(3, "firmar $ID contrato.pdf", "hay 2 certificados utilizables: elige uno con --certificado.");
    for (const char* fila : {"1    Ana María Ñañez  PKCS#12  Ana María Ñañez  ", "Berta Vieja", "  sí     caducado"})
        EXPECT_THAT(s.errores, HasSubstr(fila));
    EXPECT_EQ(Nuevos(), Nombres{"lista.pem"});
    const std::string json = Correr(3, "certificados --json $ID --pkcs12=nada").texto;
    EXPECT_EQ(DeJson(json, "[(c['numero'],c['nombre'],c['impedimentos']) for c in d['listados'][0]['certificados']]"),
              "[(1, 'Ana María Ñañez', []), (2, 'Berta Ruiz', []), (3, 'Entidad', ['es de una CA']), "
              "(4, 'Berta Vieja', ['caducado'])]");
    EXPECT_EQ(DeJson(json, "[d['listados'][0]['certificados'][0][k] for k in ('serie','clave','utilizable')]"),
              "['00AB12', True, True]");
    EXPECT_EQ(DeJson(json, "[(l['pkcs12'], l['error']) for l in d['listados'][1:]]"),
              "[('nada', 'no existe el fichero nada.')]");
}

}  // namespace PruebaCli
