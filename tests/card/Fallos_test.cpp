#include <gtest/gtest.h>

#include <functional>

#include "card/LxDnie.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/card/Mundo.h"

using namespace Lx;
using Apoyo::Escenario;
using Apoyo::Fallo;
using Dnie::CDnie;

namespace {

using Cambio = std::function<void(Escenario&)>;

// "…" at the end of a pattern is any rest, at its start any start.
bool Coincide(std::string patron, const std::string& texto) {
    const std::string resto = "…";
    if (patron.rfind(resto, 0) == 0) return texto.find(patron.substr(resto.size())) != std::string::npos;
    const size_t fin = patron.rfind(resto);
    return fin == std::string::npos ? patron == texto : texto.rfind(patron.substr(0, fin), 0) == 0;
}

Cambio Con(std::vector<Fallo> fallos) {
    return [fallos = std::move(fallos)](Escenario& e) { e.fallos = fallos; };
}
Cambio ConSw(int ins, const char* respuesta) {
    return Con({{.ins = ins, .respuesta = respuesta}});
}

Cambio Leyendo(const char* respuesta) {
    return Con({{.ins = 0xB0, .respuesta = respuesta}, {.ins = 0xB1, .respuesta = respuesta}});
}

Cambio ConFicheros(Apoyo::Bytes datos) {
    return [datos = std::move(datos)](Escenario& e) {
        for (auto& [fid, contenido] : e.ficheros) contenido = datos;
    };
}

const std::string kTimeout = "…la tarjeta dejo de responder (timeout); mantenga el DNIe en el lector.";
const std::string kCanal = "la tarjeta exige canal seguro (PACE/CAN); introduzca el DNIe con su PIN/CAN. SW=";
const std::string kSinSoporte = "comando no soportado por la tarjeta. SW=";
const std::string kNoFirmo = "No se pudo firmar. | ";
const std::string kNoVerifica = "…La tarjeta no emitio una firma verificable con el certificado elegido (SW=";

// What the fault makes of a listing and of a signature; empty: it must work.
const Apoyo::Filas<const char*, Cambio, std::string, std::string>& Filas() {
    static const Apoyo::Filas<const char*, Cambio, std::string, std::string> filas = {
        {"the files are missing", [](Escenario& e) { e.ficheros.clear(); }, "(perfil DNIe…", ""},
        {"reading wants a secure channel", Leyendo("6982"), kCanal + "6982 (perfil…", ""},
        {"no READ BINARY", Leyendo("6D00"), kSinSoporte + "6D00 (perfil…", ""},
        {"an empty file", ConFicheros({}), "…(perfil DNIe", ""},
        {"a file without end", ConFicheros(Apoyo::Bytes(60000, 0x30)), "…(perfil DNIe", ""},
        {"PIN wants a secure channel", ConSw(0x20, "6982"), "",
         "La tarjeta exige canal seguro (CAN) antes de usar la clave (SW=6982)."},
        {"wrong PIN", [](Escenario& e) { e.pin = "0000"; }, "", "PIN incorrecto: quedan 194 intento(s)."},
        {"PIN blocked", ConSw(0x20, "6983"), "",
         "PIN bloqueado: hay que desbloquearlo con el codigo PUK/clave de desbloqueo."},
        {"6Cxx to VERIFY", ConSw(0x20, "6C04"), "", "Verificacion de PIN rechazada: SW=6C04"},
        {"the answer to VERIFY is lost", Con({{.ins = 0x20, .sinGastar = true}}), "",
         "La tarjeta dejo de responder (timeout)."},
        {"key references refused", [](Escenario& e) { e.claves.clear(); }, "",
         kNoFirmo + "referencia de datos no encontrada (6A88)…"},
        {"PSO: 6985", ConSw(0x2A, "6985"), "", kNoFirmo + "condiciones de uso no satisfechas (6985)…"},
        {"PSO never has enough of the PIN", ConSw(0x2A, "6982"), "",
         kNoFirmo + "seguridad no satisficha, hace falta PIN o CAN (6982)…"},
        {"another key signs", [](Escenario& e) { e.identidad = "otra"; }, "", kNoVerifica},
        {"a short signature", ConSw(0x2A, "AABBCC9000"), "", kNoVerifica},
        {"PSO without an answer", ConSw(0x2A, ""), "", kNoFirmo + "sin respuesta (timeout)…"},
        {"61xx without end to PSO", Con({{.ins = 0x2A, .respuesta = "6110"}, {.ins = 0xC0, .respuesta = "AA6110"}}), "",
         "…" + kNoFirmo + "SW=6110"},
        {"mute from the start", ConSw(-1, ""), kTimeout, "…"},
        {"one byte to everything", ConSw(-1, "90"), kTimeout, "…"},
        {"61xx to everything", ConSw(-1, "6110"), "…SW=6110", "…"},
    };
    return filas;
}

}  // namespace

TEST(DnieFallos, CadaFalloEnCadaTarjetaYLector) {
    for (const auto& [perfil, sinContacto] : kParejas) {
        for (const auto& [caso, cambiar, lista, firmado] : Filas()) {
            SCOPED_TRACE(NombrePareja(perfil, sinContacto) + ": " + caso);
            Escenario e = Apoyo::EscenarioDe(perfil, sinContacto);
            cambiar(e);
            Mundo lectura(e);
            EXPECT_EQ(lectura.Listar().empty(), !lista.empty());
            EXPECT_TRUE(lista.empty() || Coincide(lista, lectura.texto)) << lectura.texto;
            EXPECT_EQ(CDnie::UltimoError(), lista.empty() ? "" : lectura.texto);
            EXPECT_EQ(lectura.tarjeta.Verificaciones(), 0);
            lectura.Comprobar();

            Mundo firma(e);
            EXPECT_EQ(firma.Firmar().empty(), !firmado.empty());
            EXPECT_TRUE(firmado.empty() || Coincide(firmado, firma.texto)) << firma.texto;
            EXPECT_EQ(CDnie::UltimoError(), firmado.empty() ? "" : firma.texto);
            firma.Comprobar();
        }
    }
}

// At every single command: the card goes, the service stops, the reader is unplugged, half an answer.
TEST(DnieFallos, EnCadaComando) {
    const Fallo fallos[] = {{.retirar = true},
                            {.respuesta = "9000", .retirar = true},
                            {.veces = 1},
                            {.veces = 1, .respuesta = "90"},
                            {.veces = 1, .respuesta = "6982"},
                            {.veces = 1, .respuesta = "6110"},
                            {.veces = 1, .respuesta = "6C01"}};
    for (const auto& [perfil, sinContacto] : kParejas) {
        for (size_t f = 0; f < std::size(fallos); ++f) {
            bool llego = true;
            for (int i = 0; llego && i < 60; ++i) {
                SCOPED_TRACE(NombrePareja(perfil, sinContacto) + ", fault " + std::to_string(f) + ", command " +
                             std::to_string(i));
                Escenario e = Apoyo::EscenarioDe(perfil, sinContacto);
                e.fallos = {fallos[f]};
                e.fallos[0].desde = i;
                Mundo lectura(e);
                const bool listo = !lectura.Listar().empty();
                EXPECT_EQ(listo, CDnie::UltimoError().empty());
                EXPECT_FALSE(lectura.texto.empty());
                lectura.Comprobar();
                Mundo firma(e);
                const auto bytes = firma.Firmar();
                EXPECT_EQ(bytes.empty(), firma.texto.rfind("Firmado por APDU", 0) != 0) << firma.texto;
                EXPECT_EQ(bytes.empty() ? 256U : bytes.size(), 256U);
                firma.Comprobar();
                llego = lectura.tarjeta.Apdus() > i || firma.tarjeta.Apdus() > i;
            }
        }
    }
}

TEST(DnieFallos, ElServicioFallaAlConectar) {
    const std::string sinTarjeta = "No hay tarjeta en el lector. Acerque el DNIe y pulse Actualizar.";
    const Apoyo::Filas<const char*, unsigned long, std::string> filas = {
        {"SCardEstablishContext", 0x8010001D, "Servicio PC/SC no disponible (servicio 'Smart Card' detenido)."},
        {"SCardEstablishContext", 0x8010001E, "Servicio PC/SC detenido."},
        {"SCardConnect", 0x8010000B, "Lector ocupado por otra aplicacion."},
        {"SCardConnect", 0x80100009, "Lector no disponible."},
        {"SCardConnect", 0x8010000C, sinTarjeta},
        {"SCardConnect", 0x8010001A,
         "El lector no completo la operacion con la tarjeta. Reinsertela y pulse Actualizar."},
        {"SCardConnect", 0x80100066,
         "El lector no detecta la tarjeta (apagada/muda). Reinserte el DNIe bien en la ranura y pulse Actualizar."},
        {"SCardStatus", 0x80100069, sinTarjeta},
    };
    for (const auto& [funcion, code, esperado] : filas) {
        SCOPED_TRACE(esperado);
        Mundo mundo(Apoyo::EscenarioDe(2, true));
        mundo.pcsc.codigos[funcion] = code;
        EXPECT_TRUE(mundo.Listar().empty());
        EXPECT_EQ(mundo.texto, esperado);
        EXPECT_TRUE(mundo.Firmar().empty());
        EXPECT_TRUE(CDnie::LeerAtr(mundo.lector).empty());
        EXPECT_EQ(CDnie::UltimoError(), esperado);
        EXPECT_EQ(mundo.tarjeta.Apdus(), 0);
        mundo.Comprobar();
    }
}

TEST(DnieFallos, LoQueSeCompruebaAntesDeConectar) {
    Mundo mundo(Apoyo::EscenarioDe(2, false));
    const auto cert = CertificadoDe("firma");
    const Apoyo::Filas<std::string, Apoyo::Bytes, std::string, std::string> filas = {
        {"", {}, "", "No hay datos que firmar."},
        {"", kDatos, "", "Elija un lector."},
        {mundo.lector, kDatos, "", "Se necesita el PIN de firma del DNIe."},
        {mundo.lector, kDatos, "123", "La tarjeta no admite ese PIN (longitud o formato). SW=6700"},
        {mundo.lector, kDatos, "123456789", "La tarjeta no admite ese PIN (longitud o formato). SW=6700"}};
    std::string texto;
    for (const auto& [lector, datos, pin, info] : filas) {
        EXPECT_TRUE(CDnie::Firmar(lector, cert, datos, pin, texto).empty());
        EXPECT_EQ(texto, info);
    }
    EXPECT_FALSE(CDnie::VerificarPin(mundo.lector, "123", texto));
    EXPECT_EQ(texto, "El PIN debe tener entre 4 y 8 digitos.");
    EXPECT_TRUE(CDnie::LeerCertificados("", texto).empty());
    EXPECT_EQ(texto, "Elija un lector.");
    EXPECT_EQ(mundo.tarjeta.Apdus(), 0);
    EXPECT_TRUE(mundo.pcsc.ambitos.empty());
}

TEST(DnieFallos, VerificarSoloElPin) {
    for (const auto& [perfil, sinContacto] : kParejas) {
        Mundo mundo(Apoyo::EscenarioDe(perfil, sinContacto));
        std::string mensaje;
        EXPECT_TRUE(CDnie::VerificarPin(mundo.lector, kPin, mensaje)) << mensaje;
        EXPECT_FALSE(CDnie::VerificarPin(mundo.lector, "0000", mensaje));
        EXPECT_EQ(mensaje, "PIN incorrecto: quedan 194 intento(s).");
        EXPECT_EQ(mundo.tarjeta.Intentos(), 2);
        mundo.Comprobar();
    }
}
