// The command line: what is refused, how the refusal reads, and the answers for programs.
#include <gmock/gmock.h>

#include "tests/cli/Entorno.h"

namespace PruebaCli {

using testing::HasSubstr;
using testing::Not;

class Uso : public Cli {};

TEST_F(Uso, UnMalUsoNombraElBueno) {
    const char *general = "velmora-cli ORDEN", *firmar = "velmora-cli firmar [OPCIÓN]... PDF...";
    const Apoyo::Filas<const char*, const char*, const char*> filas = {
        {"", "falta la orden", general},
        {"firmr", "no existe la orden \"firmr\"", "firmar, certificados, crear y diagnosticar"},
        {"--pkcs12 a.p12 firmar", "antes de la orden no puede ir \"--pkcs12\"", general},
        {"firmar", "falta el documento", firmar},
        {"firmar --noexiste=3 a.pdf", "la opción --noexiste no existe", firmar},

        {"firmar a.pdf --pkcs12", "--pkcs12 necesita un valor", firmar},
        {"firmar --pkcs12= a.pdf", "--pkcs12 necesita un valor que no esté vacío", firmar},

        {"firmar --json=1 a.pdf", "--json no lleva valor", firmar},
        {"firmar --s x a.pdf", "la opción --s no existe o no está completa", firmar},
        {"firmar --clave x a.pdf", "la contraseña no se da en la línea de órdenes", "--clave-desde FICHERO"},
        {"crear --clave-almacen=x", "la contraseña no se da en la línea de órdenes", "--clave-almacen-desde -"},
        {"firmar --pin 1234 a.pdf", "el PIN no se da en la línea de órdenes", "--pin-desde FICHERO"},
        {"certificados --pin=1234", "el PIN no se da en la línea de órdenes", "--pin-desde -"},
        {"diagnosticar --pin=1234", "el diagnóstico nunca usa el PIN", "velmora-cli diagnosticar"},
        {"diagnosticar --pkcs12=a", "la opción --pkcs12 no existe", "velmora-cli diagnosticar"},
        {"firmar --razon=a --razon=b a.pdf", "--razon se dio más de una vez", firmar},
        {"firmar --pkcs12=a --pkcs12=b a.pdf", "una sola identidad", firmar},
        {"firmar --sello=0-0 a.pdf", "--sello \"0-0\" no vale", "invisible o una lista"},
        {"firmar --salida=s.pdf a.pdf b.pdf", "--salida solo vale con un documento", "--directorio CARPETA"},
        {"firmar --salida=s.pdf --directorio=. a.pdf", "no van juntas", firmar},
        {"firmar --forzar a.pdf", "--forzar solo vale junto a --salida", firmar},
        {"firmar --directorio=nada contrato.pdf", "--directorio nada: no existe", "una carpeta que ya exista"},
        {"certificados sobra", "sobra \"sobra\"", "velmora-cli certificados"},
        {"crear --salida=s.pdf", "falta --texto TEXTO", "crear --texto=TEXTO --salida=FICHERO"},
        {"crear --texto=hola", "falta --salida FICHERO", "crear --texto=TEXTO --salida=FICHERO"},
    };
    for (const auto& [orden, motivo, uso] : filas) {
        const Apoyo::Salida s = Correr(2, orden, motivo);
        EXPECT_EQ(s.texto, "") << orden;
        EXPECT_THAT(s.errores, HasSubstr(uso)) << orden;
    }
    EXPECT_EQ(Nuevos(), Nombres());
}

TEST_F(Uso, AyudaVersionYElOrdenDeLasOpciones) {
    const Apoyo::Filas<const char*, const char*> filas = {
        {"--help", "Uso: velmora-cli ORDEN"},
        {"-V", "velmora-cli (Velmora) "},
        {"firmar a.pdf --salida x --hel", "Uso: velmora-cli firmar "},
        {"certificados -h", "Uso: velmora-cli certificados "},
        {"crear --version", "velmora-cli (Velmora) "},
    };
    for (const auto& [orden, inicio] : filas) {
        const Apoyo::Salida s = Correr(0, orden);
        EXPECT_EQ(s.errores, "");
        EXPECT_THAT(s.texto, testing::StartsWith(inicio));
        EXPECT_THAT(s.texto, Not(HasSubstr("--clave=")));  // what is only there to be refused is not offered
        EXPECT_THAT(s.texto, Not(testing::ContainsRegex("=[A-Z]+[a-z]")));  // an option's name runs into its text
    }
    // Options may stand between the documents.
    Escribir("--raro.pdf", Pdf());
    Correr(0, "firmar contrato.pdf --pkcs12=$P12 --clave-d clave --sello '1, 3-' -- --raro.pdf");
    EXPECT_EQ(Nuevos(), (Nombres{"--raro.pdf", "--raro_firmao.pdf", "contrato_firmao.pdf"}));
}

// The object is whole whatever went wrong.
TEST_F(Uso, JsonTambienEnElFallo) {
    Escribir("malo.p12", "esto no es nada");
    const std::string error = "d['documentos'][0]['error']", motivos = "[e['motivo'] for e in d['documentos']]";
    const std::string listado = "d['listados'][0]['error']";
    const Apoyo::Filas<int, std::string, std::string, std::string> filas = {
        {2, "firmar --json --sello=x a.pdf b.pdf", "[e['entrada'] for e in d['documentos']]", "['a.pdf', 'b.pdf']"},
        {3, "firmar --json contrato.pdf", "'no hay ningún certificado' in " + error, "True"},
        {3, "firmar --json --pkcs12=malo.p12 --clave-desde=clave contrato.pdf otro.pdf",
         "['contraseña incorrecta' in e['error'] or e['error'] for e in d['documentos']]",
         "[True, 'no se pudo leer otro.pdf. Motivo: no existe.']"},
        {3, "firmar --json --pkcs12=nada.p12 contrato.pdf otro.pdf", motivos, "['Pkcs12NoExiste', 'NoSeLee']"},
        {2, "firmar --json --directorio=nada contrato.pdf otro.pdf", motivos, "['SalidaImposible', 'NoSeLee']"},

        {2, "firmar --json --aunque=ca contrato.pdf", error, "--aunque solo vale junto a --certificado."},
        {2, "firmar --json --aunque=x --certificado=1 contrato.pdf", motivos, "['MalUso']"},
        {3, "firmar --json --pkcs12=$P12 contrato.pdf", "'no hay un terminal' in " + error, "True"},
        {1, "firmar --json 'a\xFF\xED\xB2\x80ñ\"\n\x1B.pdf'",
         "__import__('os').fsencode(d['documentos'][0]['entrada']).hex()", "61ffedb280c3b1220a1b2e706466"},
        {0, "certificados --json", "[d['version'], d['listados'][0]['certificados']]", "[1, []]"},
        {3, "certificados --json --pkcs12=nada.p12", listado, "no existe el fichero nada.p12."},
        {3, "certificados --json --lector=L", "'Servicio PC/SC no disponible' in " + listado, "True"},
        {2, "certificados --json sobra", "d['error']", "sobra \"sobra\"."},
        {2, "diagnosticar --json sobra", "[d['version'], d['error'], d['puedeFirmar'], d['pasos']]",
         "[1, 'sobra \"sobra\".', False, []]"},
    };
    for (const auto& [codigo, orden, expresion, valor] : filas) {
        SCOPED_TRACE(orden);
        const Apoyo::Salida s = Correr(codigo, orden);
        EXPECT_EQ(DeJson(s.texto, expresion), valor);
        EXPECT_EQ(
            DeJson(s.texto,
                   "all(list(e)==['entrada','salida','firmado','bytes','nota','aviso','error','motivo','avisos'] and "
                   "e['firmado']==False for e in d.get('documentos',[]))"),
            "True");
        EXPECT_THAT(s.errores, Not(HasSubstr("\x1B")));
    }
}

TEST_F(Uso, UnaSalidaQueNoSePuedeEscribirEsUnFallo) {
    Correr(1, "--help >/dev/full", "no queda espacio");
    Correr(1, "certificados --json >/dev/full", "no queda espacio");
    Correr(1, "--version >&-", "está cerrada");
    Correr(1, "firmar --json $ID contrato.pdf >&-", "está cerrada");
    // The descriptor that the caller closed did not become the document.
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao.pdf"), *identidad_));
    const Apoyo::Salida s = Guion("{ sleep 0.3; $CLI --help; echo \"[$?]\" >&2; } | true");
    EXPECT_THAT(s.errores, testing::AllOf(HasSubstr("nadie lee la salida"), HasSubstr("[1]")));
}

}  // namespace PruebaCli
