// What a person at a terminal meets: the password prompt, signals in the middle of it, the progress bar.
#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "tests/cli/Entorno.h"

namespace PruebaCli {

using testing::HasSubstr;
using testing::Not;

class EnUnTerminal : public Cli {
  protected:
    void SetUp() override {
        Cli::SetUp();
        if (!HayTerminales()) GTEST_SKIP() << kSinTerminales;
    }
    static constexpr const char* kPregunta = "Contraseña de identidad.p12: ";
    static constexpr const char* kFirmar = "exec $CLI firmar --pkcs12 $P12 contrato.pdf";
};

TEST_F(EnUnTerminal, LaClaveNoSeVeYSeRepiteLaPregunta) {
    Terminal t = EnTerminal(kFirmar);
    for (const char* clave : {"equivocada\n", "\n", "secreta\n"}) t.Contestar(kPregunta, clave);
    EXPECT_EQ(t.Codigo(), 0);
    EXPECT_TRUE(t.Eco(true));
    EXPECT_THAT(t.Texto(), HasSubstr("La contraseña no es correcta o el fichero está dañado."));
    EXPECT_THAT(t.Texto(), HasSubstr("Firmado: contrato_firmao.pdf"));
    for (const char* secreto : {"secreta", "equivocada", "Mac verify"}) EXPECT_THAT(t.Texto(), Not(HasSubstr(secreto)));
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao.pdf"), *identidad_));
}

TEST_F(EnUnTerminal, TresIntentosYElFinDeEntradaNoEsUnaClaveVacia) {
    Terminal t = EnTerminal(std::string(kFirmar) + " --json");
    for (int i = 0; i < 3; ++i) t.Contestar(kPregunta, "mala\n");
    EXPECT_EQ(t.Codigo(), 3);
    EXPECT_THAT(t.Texto(), HasSubstr("\"firmado\":false"));
    Terminal fin = EnTerminal(kFirmar);
    fin.Contestar(kPregunta, "\x04");
    EXPECT_EQ(fin.Codigo(), 3);
    EXPECT_THAT(fin.Texto(), HasSubstr("no se dio ninguna contraseña en el terminal."));
}

// The question goes to the terminal although every standard stream is elsewhere, and "-" means the terminal's line
// only when standard input is the terminal.
TEST_F(EnUnTerminal, LaPreguntaNoDependeDeLasSalidas) {
    Terminal t = EnTerminal("$CLI firmar --json --pkcs12 $P12 contrato.pdf </dev/null >s.json 2>s.txt");
    t.Contestar(kPregunta, "secreta\n");
    EXPECT_EQ(t.Codigo(), 0);
    EXPECT_EQ(DeJson(Leer("s.json"), "d['documentos'][0]['firmado']"), "True");
    Terminal guion = EnTerminal(std::string(kFirmar) + " --clave-desde=-");
    guion.Contestar(kPregunta, "secreta\n");
    EXPECT_EQ(guion.Codigo(), 0);
}

TEST_F(EnUnTerminal, UnaSenalDevuelveElEco) {
    // By a key, or sent by kill.
    for (const auto& [senal, tecla] :
         Apoyo::Filas<int, const char*>{{SIGINT, "\x03"}, {SIGQUIT, "\x1C"}, {SIGTERM, ""}, {SIGHUP, ""}}) {
        SCOPED_TRACE(senal);
        Terminal t = EnTerminal(kFirmar);
        t.Contestar(kPregunta, std::string("sec") + tecla);
        if (*tecla == 0) t.Senal(senal);
        EXPECT_EQ(t.Codigo(), 128 + senal);
        EXPECT_TRUE(t.Eco(true));
    }
    EXPECT_EQ(Nuevos(), Nombres());
}

TEST_F(EnUnTerminal, UnaParadaDevuelveElEcoYLuegoPreguntaOtraVez) {
    Terminal t = EnTerminal("set -m; $CLI firmar --pkcs12 $P12 contrato.pdf; echo parado; read linea; fg");
    t.Contestar(kPregunta, "\x1A");
    ASSERT_TRUE(t.Esperar("parado\r\n")) << t.Texto();
    EXPECT_TRUE(t.Eco(true));
    t.Teclear("\n");
    t.Contestar(kPregunta, "secreta\n");
    EXPECT_EQ(t.Codigo(), 0) << t.Texto();
}

// The tool that is signing doesn't get the keyboard's interrupt: what it began is finished.
TEST_F(EnUnTerminal, InterrumpirLaFirmaLaTermina) {
    PonerOpenssl("case $1 in dgst) : >firmando; sleep 0.7;; esac; exec $REAL \"$@\"");
    Terminal t = EnTerminal(std::string(kFirmar) + " --clave-desde=clave");
    for (int i = 0; i < 1000 && Nuevos().empty(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    t.Teclear("\x03");
    EXPECT_EQ(t.Codigo(), 128 + SIGINT);
    EXPECT_EQ(Nuevos(), (Nombres{"contrato_firmao.pdf", "firmando"}));
}

TEST_F(EnUnTerminal, LaBarraCabeYSeQuita) {
    const std::string largo = std::string(60, 'l') + ".pdf";
    Escribir("malo\x1B[2J.pdf", "x");
    Escribir(largo, Pdf());
    Terminal t = EnTerminal("exec $CLI firmar $ID contrato.pdf malo*.pdf " + largo, 40);
    EXPECT_EQ(t.Codigo(), 1);
    const std::string& texto = t.Texto();
    for (const char* dice :
         {"\r[........................] 0/3  contra…\x1B[K", "\r[################........] 2/3  lllll",
          "\r\x1B[KNo firmado: malo?[2J.pdf: ", "\r\x1B[KFirmados 2 de 3 documentos.\r\n"})
        EXPECT_THAT(texto, HasSubstr(dice));
    // The bar stands for the good ones.
    for (const char* calla : {"\x1B[2J", "Firmado: "}) EXPECT_THAT(texto, Not(HasSubstr(calla)));
}

}  // namespace PruebaCli
