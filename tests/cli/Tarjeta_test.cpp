// Signing with the identity card: every version of it, and what a PIN may cost.
#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>

#include "tests/cli/Lectores.h"

namespace PruebaCli {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class FirmarConTarjeta : public ConTarjeta {
  protected:
    void SetUp() override {
        ConTarjeta::SetUp();
        EscribirSecreto("pin", kBueno);
    }
};

TEST_F(FirmarConTarjeta, CadaTarjetaEnCadaLector) {
    std::vector<std::optional<Apoyo::Escenario>> todas;
    for (int i = 0; i < 6; ++i) todas.emplace_back(Dnie(i / 2, i % 2 == 1));
    ASSERT_TRUE(Insertar(todas));
    for (size_t i = 0; i < 6; ++i) {
        SCOPED_TRACE(Lector(i));
        const std::string lector = " --lector '" + Lector(i) + "' ", nombre = "s" + std::to_string(i) + ".pdf";
        const Apoyo::Salida lista = Correr(0, "certificados --json" + lector);
        EXPECT_EQ(DeJson(lista.texto,
                         "[(c['origen'], c['utilizable'], *c['motivos']) for c in d['listados'][0]['certificados']]"),
                  "[('DNIe', True), ('DNIe', False, 'NoEsElDeFirma'), ('DNIe', False, 'NoEsElDeFirma')]");
        Correr(0, "firmar" + lector + "--pin-desde=pin --salida=" + nombre + " contrato.pdf");
        EXPECT_TRUE(Apoyo::PdfValido(En(nombre), *titular_));
        EXPECT_EQ(Tarjeta(i).Verificaciones(), 1);
    }
    Correr(0, "crear --lector '" + Lector(3) + "' --pin-desde=- --texto=a --salida=n.pdf", "",
           std::string(kBueno) + "\notra cosa\n");
    EXPECT_TRUE(Apoyo::PdfValido(En("n.pdf"), *titular_));
}

TEST_F(FirmarConTarjeta, UnPinMaloCuestaUnIntentoPorEjecucion) {
    ASSERT_TRUE(Insertar({Dnie()}));
    EscribirSecreto("malo", kMalo);
    for (const char* nombre : {"b.pdf", "c.pdf"}) Escribir(nombre, Pdf());
    const std::string resto =
        "no se intentó: la tarjeta ya falló con un documento anterior y el PIN no se envía otra vez.";
    const Apoyo::Filas<int, std::string, const char*> filas = {
        {2, "['PIN incorrect', '", "Intentos que le quedan al PIN del DNIe: 2.\n"},
        {1, "['PIN incorrect', '", "Intentos que le quedan al PIN del DNIe: 1.\n"},
        {0, "['PIN bloqueado', '", "El PIN del DNIe está bloqueado.\n"},
    };
    for (const auto& [quedan, error, epilogo] : filas) {
        const Apoyo::Salida s = Correr(1, "firmar --json --pin-desde=malo contrato.pdf b.pdf c.pdf", epilogo);
        EXPECT_EQ(DeJson(s.texto, "[d['documentos'][0]['error'][:13], *[e['error'] for e in d['documentos'][1:]]]"),
                  error + resto + "', '" + resto + "']");
        EXPECT_EQ(Apoyo::Cuenta(s.errores, "Aviso: al PIN del DNIe le queda un solo intento"), quedan == 0 ? 1U : 0U);
        EXPECT_THAT(s.errores + s.texto, Not(HasSubstr(kMalo)));
        EXPECT_EQ(Tarjeta().Intentos(), quedan);
        EXPECT_EQ(Tarjeta().Verificaciones(), 3 - quedan);
    }
    Correr(3, "firmar --pin-desde=nada contrato.pdf", "PIN bloqueado: hay que desbloquearlo con el codigo PUK");
    EXPECT_EQ(Tarjeta().Verificaciones(), 3);
    EXPECT_EQ(Nuevos(), (Nombres{"b.pdf", "c.pdf", "malo", "pin"}));
}

TEST_F(FirmarConTarjeta, UnPinQueNoLlegaALaTarjeta) {
    ASSERT_TRUE(Insertar({Dnie()}));
    for (const char* contenido : {"741", "741085296", "\n"})
        Correr(3, "firmar --pin-desde=- contrato.pdf", "El PIN debe tener entre 4 y 8 digitos.", contenido);
    Correr(3, "firmar --pin-desde=- contrato.pdf", "no se dio ningún PIN en la entrada estándar.");
    Correr(3, "firmar --pin-desde=nada contrato.pdf", "no se pudo leer el PIN de nada: no existe.");
    Correr(3, "firmar contrato.pdf", "no hay un terminal donde pedir el PIN: usa --pin-desde FICHERO o --pin-desde -.");
    EXPECT_EQ(Tarjeta().Verificaciones(), 0);
    EXPECT_EQ(Nuevos(), Nombres{"pin"});
}

TEST_F(FirmarConTarjeta, LaTarjetaSeVaEntreDosDocumentos) {
    ASSERT_TRUE(Insertar({Dnie()}));
    std::atomic<bool> visto = false;
    AntesDe([&](int) { visto = visto || LoMuestraAlgunProceso(kBueno); });
    Correr(0, "firmar --pin-desde=pin --salida=uno.pdf contrato.pdf");
    EXPECT_FALSE(visto);
    EXPECT_TRUE(LoMuestraAlgunProceso("PATH="));  // the search does find
    Apoyo::Escenario fugaz = Dnie();
    fugaz.fallos = {{.desde = Tarjeta().Apdus(), .retirar = true}};
    ASSERT_TRUE(Insertar({fugaz}));
    for (const char* nombre : {"b.pdf", "c.pdf"}) Escribir(nombre, Pdf());
    const Apoyo::Salida s = Correr(1, "firmar --json --pin-desde=pin contrato.pdf b.pdf c.pdf");
    EXPECT_EQ(DeJson(s.texto, "[(e['firmado'], e['error'][:14]) for e in d['documentos']]"),
              "[(True, ''), (False, 'No se pudo abr'), (False, 'no se intentó:')]");
    EXPECT_EQ(Tarjeta().Verificaciones(), 1);
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao.pdf"), *titular_));
    EXPECT_FALSE(fs::exists(En("b_firmao.pdf")));
}

// Whoever names a file means that file; the number and the name reach the whole list.
TEST_F(FirmarConTarjeta, LaFuenteNombradaEsLaElegida) {
    ASSERT_TRUE(Insertar({Dnie(), std::nullopt}));
    const Apoyo::Filas<std::string, int, const char*> filas = {
        {"", 0, "Firmando con PRUEBA TITULAR"},
        {"--pkcs12=$P12", 0, "Firmando con Ana Núñez Peña"},
        {"--pkcs12=$P12 --lector '" + Lector() + "'", 0, "Firmando con Ana Núñez Peña"},
        {"--pkcs12=$P12 --certificado=1", 0, "Firmando con PRUEBA TITULAR"},
        {"--pkcs12=$P12 --certificado=titular", 0, "Firmando con PRUEBA TITULAR"},
        {"--pkcs12=$P12 --certificado=n", 0, "Firmando con Ana"},
        {"--certificado=2", 3,
         "es de la tarjeta, pero no el de firma. Para firmar con él de todos modos, añade --aunque uso."},
        {"--certificado=2 --aunque=uso", 1, "La tarjeta no emitio una firma verificable con el certificado elegido"},
        {"--lector '" + Lector(1) + "'", 3,
         "No hay tarjeta en el lector. Acerque el DNIe y pulse Actualizar. Compruébalo con"},
        {"--lector=otro", 3, "no se leyó ningún certificado en el lector 'otro': "},
    };
    for (const auto& [opciones, codigo, dice] : filas)
        Correr(codigo, "firmar --pin-desde=pin --clave-desde=clave --salida=s.pdf --forzar contrato.pdf " + opciones,
               dice);
    EXPECT_EQ(Tarjeta().Intentos(), 3);
}

TEST_F(FirmarConTarjeta, ElTerminalDiceLosIntentosAntesDePreguntar) {
    if (!HayTerminales()) GTEST_SKIP() << kSinTerminales;
    Apoyo::Escenario e = Dnie();
    e.intentos = 2;
    ASSERT_TRUE(Insertar({e}));
    Terminal malo = EnTerminal("exec $CLI firmar contrato.pdf");
    malo.Contestar("PIN del DNIe (le quedan 2 intentos): ", "741\n");
    malo.Contestar("PIN del DNIe (le quedan 2 intentos): ", std::string(kMalo) + "\n");
    EXPECT_EQ(malo.Codigo(), 1);
    EXPECT_THAT(malo.Texto(), HasSubstr("El PIN debe tener entre 4 y 8 digitos. No se ha enviado nada a la tarjeta."));
    EXPECT_EQ(Tarjeta().Intentos(), 1);
    Terminal bueno = EnTerminal("exec $CLI firmar --pin-desde=- contrato.pdf");
    bueno.Contestar("PIN del DNIe (ÚLTIMO INTENTO: si no es correcto, queda bloqueado): ", std::string(kBueno) + "\n");
    EXPECT_EQ(bueno.Codigo(), 0) << bueno.Texto();
    EXPECT_THAT(malo.Texto() + bueno.Texto(), Not(testing::AnyOf(HasSubstr(kMalo), HasSubstr(kBueno))));
    EXPECT_EQ(Tarjeta().Verificaciones(), 2);
}

}  // namespace PruebaCli
