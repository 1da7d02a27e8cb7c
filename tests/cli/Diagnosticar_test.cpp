// The card doctor: what it says in each state, to people and to programs.
#include <gmock/gmock.h>

#include "tests/cli/Lectores.h"

namespace PruebaCli {

using testing::HasSubstr;
using testing::Not;

class Diagnosticar : public ConTarjeta {
  protected:
    // Stages that ran and were good, then what the failed one says and advises; for both readers of the answer.
    void Comprobar(const std::string& opciones, int buenos, const std::string& texto,
                   const std::string& consejo) const {
        SCOPED_TRACE(texto);
        const Apoyo::Salida s = Correr(buenos == 6 ? 0 : 1, "diagnosticar " + opciones);
        const Apoyo::Salida j = Correr(s.codigo, "diagnosticar --json " + opciones);
        EXPECT_EQ(s.errores, "");
        EXPECT_THAT(s.texto, HasSubstr(texto));
        EXPECT_EQ(s.texto.find("    Qué hacer: " + consejo) != s.texto.npos, buenos != 6) << s.texto;
        EXPECT_EQ(DeJson(j.texto,
                         "[d['version'], len(d['pasos']), [p['ok'] for p in d['pasos']].index(False) "
                         "if not d['puedeFirmar'] else 6]"),
                  "[1, 6, " + std::to_string(buenos) + "]");
        EXPECT_EQ(DeJson(j.texto, "sorted(d)"),
                  "['atr', 'certificados', 'error', 'informe', 'intentosPin', 'lector', 'lectores', 'modelo', "
                  "'motivo', 'pasos', 'perfil', 'protecciones', 'puedeFirmar', 'sinContacto', 'version']");
        const std::string fallo = "' '.join(p['texto'] + p['consejo'] for p in d['pasos'] if p['probado'])";
        EXPECT_THAT(DeJson(j.texto, fallo), testing::AllOf(HasSubstr(texto), HasSubstr(consejo)));
        EXPECT_THAT(s.texto + j.texto, Not(HasSubstr(kDocumento)));
    }
};

TEST_F(Diagnosticar, SinServicioOSinBiblioteca) {
    Comprobar("", 0, "Servicio PC/SC no disponible", "Arranca el servicio: sudo systemctl start pcscd.socket");
    // A file that is no library, and a library without the functions.
    for (const auto& [fichero, nota] : Apoyo::Filas<std::string, const char*>{
             {"clave", "No se encontro libpcsclite.so.1 (instale el paquete 'libpcsclite1')."},
             {"$(ldd $CLI | awk '/libm.so/ {print $3}')", "El modulo PC/SC no exporta las funciones esperadas."}}) {
        const Apoyo::Salida s =
            Guion("mkdir -p lib; for f in libpcsclite.so.1 libpcsclite.so; do cp " + fichero +
                  " lib/$f; done; export LD_LIBRARY_PATH=lib; $CLI firmar $ID contrato.pdf && exec $CLI diagnosticar");
        EXPECT_EQ(s.codigo, 1);
        EXPECT_THAT(s.texto, HasSubstr("    Qué hacer: Instala la biblioteca y el servicio: sudo apt install"));
        EXPECT_THAT(s.texto, HasSubstr(nota));
    }
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao2.pdf"), *identidad_));
}

TEST_F(Diagnosticar, CadaPasoQueFallaDiceQueHacer) {
    ASSERT_TRUE(Insertar({}));
    Comprobar("", 1, "No hay lectores de tarjetas conectados.", "Conecta un lector de tarjetas");
    Apoyo::Escenario ajena = Dnie(2, false), vacia = Dnie(1, true), bloqueada = Dnie(0, false), sinClave = Dnie();
    ajena.atr = "3B00";
    ajena.fallos = {{.respuesta = "6A82"}};
    vacia.ficheros.clear();
    bloqueada.intentos = 0;
    sinClave.claves.clear();
    ASSERT_TRUE(Insertar({std::nullopt, ajena, vacia, bloqueada, sinClave, Dnie()}));
    const Apoyo::Filas<std::string, int, const char*, const char*> filas = {
        {"otro", 1, "no existe el lector 'otro'.", "Elige uno de estos lectores: 'Lector"},
        {Lector(0), 2, "No hay tarjeta en el lector.", "Inserta el DNIe en el lector"},
        {Lector(1), 3, "Tarjeta no identificada como DNIe, ATR 3B00.", "Comprueba que es un DNI electrónico"},
        {Lector(2), 4, "(perfil DNIe 2.0 RENIEC", "Deja quieto el DNIe"},
        {Lector(3), 5, "el PIN está bloqueado. Al PIN le quedan 0 intento(s).", "Desbloquea el PIN con su código PUK"},
        {Lector(4), 5, "la tarjeta no puede firmar. Al PIN le quedan 3 intento(s).", "Inserta otra vez el DNIe"},
        {Lector(5), 6, "la tarjeta puede firmar; solo falta el PIN. Al PIN le quedan 3 intento(s).", ""},
    };
    for (const auto& [lector, buenos, texto, consejo] : filas)
        Comprobar("--lector '" + lector + "'", buenos, texto, consejo);
    for (size_t i = 1; i < 6; ++i) EXPECT_EQ(Tarjeta(i).Verificaciones(), 0);
}

TEST_F(Diagnosticar, ElTitularSoloConDetalle) {
    Apoyo::Escenario e = Dnie();
    e.intentos = 1;
    ASSERT_TRUE(Insertar({e}));
    const Apoyo::Salida s = Correr(0, "diagnosticar --detalle");
    EXPECT_THAT(s.texto, HasSubstr("Aviso: al PIN le queda un solo intento"));
    EXPECT_THAT(s.texto, HasSubstr(kDocumento));
    EXPECT_THAT(s.texto, HasSubstr("· MSE de firma OK\n"));
    const std::string pem = Apoyo::LeerFichero(titular_->cert);
    EXPECT_THAT(s.texto, HasSubstr(pem.substr(pem.find("-----BEGIN"))));
    EXPECT_THAT(DeJson(Correr(0, "diagnosticar --detalle --json").texto, "d['certificados'][0]['titular']"),
                HasSubstr(kDocumento));
    EXPECT_THAT(Correr(0, "diagnosticar").texto, Not(testing::AnyOf(HasSubstr(kDocumento), HasSubstr("BEGIN"))));
}

}  // namespace PruebaCli
