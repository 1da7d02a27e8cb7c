// Signing with the keys of an NSS database behind a password.
#include <gmock/gmock.h>

#include "tests/cli/Entorno.h"

namespace PruebaCli {

using testing::HasSubstr;
using testing::Not;

class FirmarConAlmacen : public Cli {
  protected:
    static constexpr const char* kBuena = "la Buena 1!";

    // The identity in the database that browsers share.
    void SetUp() override {
        Cli::SetUp();
        EscribirSecreto("buena", kBuena);
        EscribirSecreto("mala", "la Mala 2?");
        const Apoyo::Salida s = Guion(
            "exec 2>&1; B=$HOME/.pki/nssdb; mkdir -p $B && certutil -N -d sql:$B -f buena && "
            "pk12util -i $P12 -d sql:$B -k buena -w clave && cp contrato.pdf b.pdf && cp contrato.pdf c.pdf");
        ASSERT_EQ(s.codigo, 0) << s.texto;
    }
};

TEST_F(FirmarConAlmacen, UnaClaveDadaTieneUnIntentoYValeParaTodos) {
    Correr(0, "firmar --clave-almacen-desde=- contrato.pdf b.pdf", "", std::string(kBuena) + "\n");
    EXPECT_TRUE(Apoyo::PdfValido(En("b_firmao.pdf"), *identidad_));
    const std::string frase = "la contraseña que se dio no es la de ";
    const Apoyo::Salida mal = Correr(1, "firmar --json --clave-almacen-desde=mala contrato.pdf b.pdf c.pdf", frase);
    EXPECT_EQ(
        DeJson(mal.texto, "[(e['motivo'], e['error'][:13]) for e in d['documentos']]"),
        "[('ClaveDeAlmacen', 'la contraseña'), ('NoIntentado', 'no se intentó'), ('NoIntentado', 'no se intentó')]");
    EXPECT_EQ(Apoyo::Cuenta(mal.errores, frase), 1U);
    EXPECT_THAT(mal.errores, HasSubstr("b.pdf: no se intentó: el almacén del sistema ya se negó"));
    // The same certificate is in both, and the file's password is the one that was given.
    Correr(0, "firmar $ID --salida=s.pdf contrato.pdf");
    EXPECT_TRUE(Apoyo::PdfValido(En("s.pdf"), *identidad_));
}

TEST_F(FirmarConAlmacen, ElTerminalPreguntaOtraVez) {
    if (!HayTerminales()) GTEST_SKIP() << kSinTerminales;
    Terminal t = EnTerminal("TERM=dumb $CLI firmar contrato.pdf b.pdf");
    t.Contestar("Contraseña de ", "mala\n");
    t.Contestar("Contraseña de ", std::string(kBuena) + "\n");
    EXPECT_EQ(t.Codigo(), 0) << t.Texto();
    EXPECT_THAT(t.Texto(), Not(HasSubstr(kBuena)));
}

}  // namespace PruebaCli
