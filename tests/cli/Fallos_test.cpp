// Secrets, and what the machine does to a run: full disks, signals, files that go away.
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/cli/Entorno.h"

namespace PruebaCli {

using testing::HasSubstr;
using testing::Not;

class Fallos : public Cli {};

TEST_F(Fallos, ElSecretoNoLlegaANingunProceso) {
    PonerOpenssl(
        "{ cat /proc/$$/cmdline /proc/$PPID/cmdline /proc/$$/environ; } | tr '\\0' '\\n' >>visto; exec $REAL \"$@\"");
    EXPECT_THAT(Correr(0, "firmar $ID contrato.pdf").errores, Not(HasSubstr("Aviso")));
    const std::string visto = Leer("visto");
    EXPECT_THAT(visto, testing::AllOf(HasSubstr("-passin"), HasSubstr("XDG_RUNTIME_DIR=")));
    EXPECT_THAT(visto, Not(HasSubstr(identidad_->password)));
}

TEST_F(Fallos, LaClaveDeUnFichero) {
    const Apoyo::Filas<std::string, int, const char*> filas = {
        {"secreta", 0, ""},
        {"secreta\r\notra línea\n", 0, ""},
        {"\xEF\xBB\xBFsecreta\n", 0, ""},
        {" secreta\n", 3, "contraseña incorrecta"},
        {"\n", 3, "contraseña incorrecta"},
        {std::string(1024, 'x'), 3, "es demasiado larga"},
        {std::string("sec\0reta\n", 9), 3, "no es texto"},
    };
    for (const auto& [contenido, codigo, dice] : filas) {
        SCOPED_TRACE(contenido.substr(0, 30));
        Escribir("k", contenido);
        for (const std::string desde : {"k", "-"}) {
            const Apoyo::Salida s = Correr(codigo, "certificados --pkcs12 $P12 --clave-desde " + desde, dice,
                                           desde == "-" ? contenido : "");
            EXPECT_THAT(s.errores, Not(HasSubstr("secreta")));
            EXPECT_EQ(Apoyo::Cuenta(s.errores, "Aviso: otros usuarios pueden leer k"), desde == "k" ? 1U : 0U);
        }
    }
    Correr(3, "certificados --pkcs12 $P12 --clave-desde=nada", "no se pudo leer la contraseña de nada: no existe.");
}

// As root of a mount namespace of its own, where disco/ is a small file system.
TEST_F(Fallos, DiscoLlenoYDeSoloLectura) {
    // Room for the password and the key, not for the 34 kB of a signed document beside the 60 kB of another file.
    Escribir("otro.pdf", Pdf());
    const Apoyo::Salida s = Guion(R"(mkdir disco; unshare -m sh -c '
        mount -t tmpfs -o size=64k disco disco || exit 99
        head -c 40000 /dev/zero >disco/viejo.pdf
        $CLI firmar --json $ID --directorio disco contrato.pdf otro.pdf; echo "[$?]" >&2
        $CLI firmar $ID --salida disco/viejo.pdf --forzar contrato.pdf; echo "[$?]" >&2
        ls -A disco >&2; wc -c disco/viejo.pdf >&2
        mount -o remount,ro disco; $CLI firmar $ID --directorio disco contrato.pdf')");
    if (s.codigo == 99 || s.errores.find("unshare:") != s.errores.npos)
        GTEST_SKIP() << "no mount namespaces: " << s.errores;
    EXPECT_EQ(s.codigo, 1);
    EXPECT_EQ(DeJson(s.texto, "[e['error'] for e in d['documentos']]"),
              "['no queda espacio en el disco para disco/contrato_firmao.pdf.', 'no queda espacio en el disco para "
              "disco/otro_firmao.pdf.']");
    for (const char* dice : {"Consejo: comprueba que quede espacio en el disco", "Firmados 0 de 2 documentos.\n[1]",
                             "\n[1]\nviejo.pdf\n40000 disco/viejo.pdf\n",
                             "no se pudo abrir disco/contrato_firmao.pdf para escritura. Motivo: el sistema de "
                             "ficheros es de solo lectura."})
        EXPECT_THAT(s.errores, HasSubstr(dice));
}

TEST_F(Fallos, ElDocumentoOElProgramaDesaparecen) {
    const Apoyo::Salida s = Guion("PATH=/noexiste $CLI firmar $ID contrato.pdf");
    EXPECT_THAT(s.errores, HasSubstr("para leer el PKCS#12 hace falta el programa 'openssl' en el PATH."));
    PonerOpenssl("rm -f va.pdf; exec $REAL \"$@\"");
    Escribir("va.pdf", Pdf());
    Correr(1, "firmar $ID va.pdf contrato.pdf", "No firmado: va.pdf: no se pudo leer va.pdf. Motivo: no existe.\n");
    EXPECT_EQ(Nuevos(), Nombres{"contrato_firmao.pdf"});
    // A limit on the size of files.
    const Apoyo::Salida limite = Guion("ulimit -f 30; exec $CLI firmar --json $ID --salida=limite.pdf contrato.pdf");
    EXPECT_EQ(DeJson(limite.texto, "d['documentos'][0]['motivo']"), "SalidaIncompleta") << limite.errores;
    EXPECT_EQ(Nuevos(), Nombres{"contrato_firmao.pdf"});
}

// Before the key is used a signal ends all, within a second even when openssl doesn't answer; afterwards the document
// is finished first.
TEST_F(Fallos, UnaSenalNoDejaNadaAMedias) {
    for (const int senal : {SIGTERM, SIGINT, SIGHUP}) {
        for (const std::string cuando : {"pkcs12", "dgst"}) {
            SCOPED_TRACE(cuando + std::to_string(senal));
            PonerOpenssl("case $1 in " + cuando + ") kill -" + std::to_string(senal) + " $(cat pid); sleep " +
                         (cuando == "dgst" ? "0.2" : "30") + ";; esac; exec $REAL \"$@\"");
            const Apoyo::Salida s = Guion(
                "echo antes >antes.pdf; echo $$ >pid; cp contrato.pdf b.pdf; exec $CLI firmar $ID --salida antes.pdf "
                "--forzar contrato.pdf");
            EXPECT_EQ(s.codigo, 128 + senal) << s.errores;
            EXPECT_EQ(Leer("antes.pdf") == "antes\n", cuando != "dgst");
            EXPECT_EQ(Nuevos(), (Nombres{"antes.pdf", "b.pdf", "pid"}));
        }
    }
    // The documents that are left are not begun.
    const Apoyo::Salida s = Guion("echo $$ >pid; exec $CLI firmar --json $ID contrato.pdf b.pdf");
    EXPECT_EQ(DeJson(s.texto, "[e['motivo'] for e in d['documentos']]"), "['', 'Cancelado']");
}

TEST_F(Fallos, SinMemoria) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own memory is past any limit";
#endif
    // A section of millions of free numbers, each of which takes room in the list of objects.
    std::string enorme = Pdf(), libres = "100 3000000\n";
    for (int i = 0; i < 3000000; ++i) libres += "0000000000 00000 f \n";
    Escribir("enorme.pdf", enorme.insert(enorme.rfind("trailer"), libres));
    const Apoyo::Salida s = Guion("ulimit -v 80000; exec $CLI firmar $ID enorme.pdf contrato.pdf");
    EXPECT_EQ(s.codigo, 1);
    EXPECT_THAT(s.errores,
                HasSubstr("enorme.pdf: no hay memoria suficiente para firmar enorme.pdf.\n  Consejo: cierra"));
    EXPECT_EQ(Nuevos(), (Nombres{"contrato_firmao.pdf", "enorme.pdf"}));
}

}  // namespace PruebaCli
