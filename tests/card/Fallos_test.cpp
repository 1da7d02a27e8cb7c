#include <fnmatch.h>
#include <gtest/gtest.h>

#include <functional>

#include "card/LxTarjeta.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/card/Medida.h"
#include "tests/card/Mundo.h"

using namespace Lx;
using enum Lx::Motivo;
using Apoyo::Escenario;
using Apoyo::Fallo;
using Dnie::CDnie;

namespace {

using Cambio = std::function<void(Escenario&)>;

bool Coincide(const std::string& patron, const std::string& texto) {
    return fnmatch(patron.c_str(), texto.c_str(), 0) == 0;
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

const std::string kTimeout = "*la tarjeta dejo de responder (timeout); mantenga el DNIe en el lector.*";
const std::string kCanal = "la tarjeta exige canal seguro (PACE/CAN); introduzca el DNIe con su PIN/CAN. SW=";
const std::string kSinSoporte = "comando no soportado por la tarjeta. SW=";
const std::string kNoFirmo = "No se pudo firmar. | ";
const std::string kNoVerifica = "*La tarjeta no emitio una firma verificable con el certificado elegido (SW=*";

// What the fault makes of a listing and of a signature; empty: it must work. Then the signature's reason, where it is
// the same for all cards.
const Apoyo::Filas<const char*, Cambio, std::string, std::string, Motivo>& Filas() {
    static const Apoyo::Filas<const char*, Cambio, std::string, std::string, Motivo> filas = {
        {"the files are missing", [](Escenario& e) { e.ficheros.clear(); }, "(perfil DNIe*", "", Ninguno},
        {"reading wants a secure channel", Leyendo("6982"), kCanal + "6982 (perfil*", "", Ninguno},
        {"the same by 6A81", Leyendo("6A81"), kCanal + "6A81 (perfil*", "", Ninguno},
        {"no READ BINARY", Leyendo("6D00"), kSinSoporte + "6D00 (perfil*", "", Ninguno},
        {"6Cxx to reading", Leyendo("6C10"), "la tarjeta rechazo el comando. SW=6C10 (perfil*", "", Ninguno},

        {"a length beyond it", ConFicheros({0x30, 0x84, 0x7F, 0xFF, 0xFF, 0xFF}), "*(perfil DNIe*", "", Ninguno},
        {"PIN wants a secure channel", ConSw(0x20, "6982"), "",
         "La tarjeta exige canal seguro (CAN) antes de usar la clave (SW=6982).", ClaveNoFirma},
        {"PIN and 6985", ConSw(0x20, "6985"), "", "La tarjeta exige condiciones no satisfechas (SW=6985).",
         ClaveNoFirma},
        {"PIN and 6A80", ConSw(0x20, "6A80"), "", "La tarjeta no admite ese PIN (longitud o formato). SW=6A80",
         PinIncorrecto},
        {"wrong PIN", [](Escenario& e) { e.pin = "0000"; }, "", "PIN incorrecto: quedan 194 intento(s).",
         PinIncorrecto},
        {"PIN blocked", ConSw(0x20, "6983"), "",
         "PIN bloqueado: hay que desbloquearlo con el codigo PUK/clave de desbloqueo.", PinBloqueado},
        {"6Cxx to VERIFY", ConSw(0x20, "6C04"), "", "Verificacion de PIN rechazada: SW=6C04", ClaveNoFirma},
        {"the answer to VERIFY is lost", Con({{.ins = 0x20, .sinGastar = true}}), "",
         "La tarjeta dejo de responder (timeout).", TarjetaRetirada},
        {"MSE: 6A81", ConSw(0x22, "6A81"), "", kNoFirmo + "funcion no soportada / referencia inexistente (6A81)*",
         ClaveNoFirma},
        {"MSE: 6A86", ConSw(0x22, "6A86"), "", kNoFirmo + "P1/P2 incorrecto (6A86)*", ClaveNoFirma},
        {"PSO: 6985", ConSw(0x2A, "6985"), "", kNoFirmo + "condiciones de uso no satisfechas (6985)*", ClaveNoFirma},
        {"another key signs", [](Escenario& e) { e.identidad = "otra"; }, "", kNoVerifica, ClaveAjena},
        {"a short signature", ConSw(0x2A, "AABBCC9000"), "", kNoVerifica, ClaveAjena},
        {"PSO without an answer", ConSw(0x2A, ""), "", kNoFirmo + "sin respuesta (timeout)*", TarjetaRetirada},
        {"mute from the start", ConSw(-1, ""), kTimeout, "*", TarjetaRetirada},
        {"every command refused", ConSw(-1, "6E00"), "*" + kSinSoporte + "6E00*", "*", Ninguno},
    };
    return filas;
}

}  // namespace

TEST(DnieFallos, CadaFalloEnCadaTarjetaYLector) {
    const auto cert = CertificadoDe("firma");
    for (const auto& [perfil, sinContacto] : kParejas) {
        for (const auto& [caso, cambiar, lista, firmado, motivo] : Filas()) {
            SCOPED_TRACE(NombrePareja(perfil, sinContacto) + ": " + caso);
            Escenario e = Apoyo::EscenarioDe(perfil, sinContacto);
            cambiar(e);
            Control control;
            Mundo lectura(e);
            const auto leida = Dnie::LeerTarjeta(lectura.lector, control);
            EXPECT_EQ(leida.certificados.empty(), !lista.empty());
            EXPECT_TRUE(lista.empty() || Coincide(lista, leida.fallo.frase)) << leida.fallo.frase;
            EXPECT_EQ(leida.fallo.motivo == Ninguno, lista.empty());
            EXPECT_EQ(lectura.tarjeta.Verificaciones(), 0);
            lectura.Comprobar();

            Mundo firma(e);
            const auto r = Dnie::FirmarConTarjeta(firma.lector, cert, kDatos, kPin, {}, control);
            EXPECT_EQ(r.firma.empty(), !firmado.empty());
            EXPECT_TRUE(firmado.empty() || Coincide(firmado, r.fallo.frase)) << r.fallo.frase;
            EXPECT_TRUE(r.fallo.motivo == motivo || (motivo == Ninguno && !firmado.empty()))
                << NombreDe(r.fallo.motivo);
            EXPECT_EQ(r.pinEnviado, firma.tarjeta.Verificaciones() > 0);
            firma.Comprobar();
        }
    }
}

// At every single command: the card goes, the service stops, the reader is unplugged, half an answer.
TEST(DnieFallos, EnCadaComando) {
    const auto cert = CertificadoDe("firma");
    const Fallo fallos[] = {{.retirar = true},
                            {.respuesta = "9000", .retirar = true},
                            {.veces = 1},
                            {.veces = 1, .respuesta = "90"},
                            {.veces = 1, .respuesta = "6982"},
                            {.veces = 1, .respuesta = "6F00"}};
    for (const auto& [perfil, sinContacto] : kParejas) {
        for (size_t f = 0; f < std::size(fallos); ++f) {
            bool llego = true;
            for (int i = 0; llego && i < 60; ++i) {
                SCOPED_TRACE(NombrePareja(perfil, sinContacto) + ", fault " + std::to_string(f) + ", command " +
                             std::to_string(i));
                Escenario e = Apoyo::EscenarioDe(perfil, sinContacto);
                e.fallos = {fallos[f]};
                e.fallos[0].desde = i;
                std::string texto;
                Mundo lectura(e);
                const auto lista = CDnie::LeerCertificados(lectura.lector, texto);
                EXPECT_FALSE(texto.empty());
                EXPECT_EQ(lista.empty(), !CDnie::UltimoError().empty());
                lectura.Comprobar();
                Mundo firma(e);
                const auto bytes = CDnie::Firmar(firma.lector, cert, kDatos, kPin, texto);
                EXPECT_EQ(bytes.empty(), texto.rfind("Firmado por APDU", 0) != 0) << texto;
                EXPECT_EQ(bytes.empty() ? 256U : bytes.size(), 256U);
                // A signature that has lost one answer sends nothing more.
                EXPECT_LE(firma.tarjeta.Apdus(), fallos[f].respuesta.size() < 4 ? i + 1 : 60);
                firma.Comprobar();
                llego = lectura.tarjeta.Apdus() > i || firma.tarjeta.Apdus() > i;
            }
        }
    }
}

TEST(DnieFallos, ElServicioFallaAlConectar) {
    const auto cert = CertificadoDe("firma");
    const std::string sinTarjeta = "No hay tarjeta en el lector. Acerque*", muda = "El lector no detecta la tarjeta*";
    const Apoyo::Filas<const char*, unsigned long, std::string, Motivo> filas = {
        {"SCardEstablishContext", 0x8010001D, "Servicio PC/SC no disponible (servicio 'Smart Card' detenido).",
         SinServicio},
        {"SCardEstablishContext", 0x8010001E, "Servicio PC/SC detenido.", SinServicio},
        {"SCardEstablishContext", 0x8010000F, "Error PC/SC 0x8010000F", SinServicio},
        {"SCardConnect", 0x8010000B, "Lector ocupado por otra aplicacion.", LectorOcupado},
        {"SCardConnect", 0x80100009, "Lector no disponible.", LectorDesconocido},
        {"SCardConnect", 0x8010000C, sinTarjeta, SinTarjeta},
        {"SCardConnect", 0x80100069, sinTarjeta, SinTarjeta},
        {"SCardConnect", 0x8010001A, "El lector no completo la operacion con la tarjeta*", TarjetaMuda},
        {"SCardConnect", 0x80100066, muda, TarjetaMuda},
        {"SCardConnect", 0x80100017, "Error PC/SC 0x80100017", LectorDesconocido},
        {"SCardStatus", 0x80100069, sinTarjeta, SinTarjeta},
    };
    for (const auto& [funcion, code, esperado, motivo] : filas) {
        SCOPED_TRACE(esperado);
        Mundo mundo(Apoyo::EscenarioDe(2, true));
        mundo.pcsc.codigos[funcion] = code;
        std::string texto;
        EXPECT_TRUE(CDnie::LeerCertificados(mundo.lector, texto).empty());
        EXPECT_TRUE(Coincide(esperado, texto)) << texto;
        Control control;
        const auto firmado = Dnie::FirmarConTarjeta(mundo.lector, cert, kDatos, kPin, {}, control);
        EXPECT_EQ(firmado.fallo.frase, texto);
        EXPECT_EQ(firmado.fallo.motivo, motivo);
        EXPECT_EQ(mundo.tarjeta.Apdus(), 0);
        mundo.Comprobar();
    }
}

TEST(DnieFallos, LoQueSeCompruebaAntesDeConectar) {
    Mundo mundo(Apoyo::EscenarioDe(2, false));
    const auto cert = CertificadoDe("firma");
    const Apoyo::Filas<std::string, Apoyo::Bytes, std::string, std::string> filas = {
        {"", {}, "", "No hay datos que firmar."},
        {mundo.lector, kDatos, "", "Se necesita el PIN de firma del DNIe."},
        {mundo.lector, kDatos, "123", "La tarjeta no admite ese PIN (longitud o formato). SW=6700"},
        {mundo.lector, kDatos, "123456789", "La tarjeta no admite ese PIN (longitud o formato). SW=6700"}};
    std::string texto;
    for (const auto& [lector, datos, pin, info] : filas) {
        EXPECT_TRUE(CDnie::Firmar(lector, cert, datos, pin, texto).empty());
        EXPECT_EQ(texto, info);
        EXPECT_EQ(CDnie::UltimoError(), info);
    }
    EXPECT_FALSE(CDnie::VerificarPin(mundo.lector, "123", texto));
    EXPECT_TRUE(mundo.pcsc.ambitos.empty());
    EXPECT_TRUE(CDnie::VerificarPin(mundo.lector, kPin, texto)) << texto;
    mundo.Comprobar();
}

// What a listing that gives nothing, or not all, is told by.
TEST(DnieFallos, PorQueNoHayCertificados) {
    const Apoyo::Filas<const char*, Cambio, size_t, bool, Motivo> filas = {
        {"all", [](Escenario&) {}, 3, false, Ninguno},
        {"no file for signing", [](Escenario& e) { e.ficheros.erase("CE82"); }, 2, true, Ninguno},
        {"no file at all", [](Escenario& e) { e.ficheros.clear(); }, 0, true, TarjetaIlegible},
        {"another card", ConSw(-1, "6A82"), 0, false, TarjetaAjena},
        {"no answer", ConSw(-1, ""), 0, false, TarjetaMuda},
        {"taken out", Con({{.desde = 4, .retirar = true}}), 0, true, TarjetaRetirada},
    };
    for (const auto& [caso, cambiar, cuantos, perdida, motivo] : filas) {
        SCOPED_TRACE(caso);
        Escenario e = Apoyo::EscenarioDe(2, false);
        cambiar(e);
        Mundo mundo(e);
        Control control;
        const auto r = Dnie::LeerTarjeta("", control);
        EXPECT_EQ(r.lector, mundo.lector);
        EXPECT_EQ(r.certificados.size(), cuantos);
        EXPECT_EQ(r.firmaPerdida, perdida);
        EXPECT_EQ(r.fallo.motivo, motivo) << NombreDe(r.fallo.motivo);
        for (const auto& c : r.certificados) EXPECT_EQ(c.deFirma, c.etiqueta == "Firma Digital (DNIe)");
        mundo.Comprobar();
    }
    Mundo vacio(Apoyo::EscenarioDe(2, false));
    vacio.pcsc.lectores.clear();
    Control control;
    EXPECT_EQ(Dnie::LeerTarjeta("", control).fallo.motivo, SinLector);
    EXPECT_TRUE(CDnie::ListarLectores().empty());
    EXPECT_EQ(CDnie::UltimoError(), "No hay lectores de tarjetas conectados.");
    vacio.Comprobar();
}

// Whatever happens between the directory of the key and the PIN: it goes to the card that was prepared, or to none.
TEST(DnieFallos, ElPinSoloVaALaTarjetaPreparada) {
    const Apoyo::Filas<const char*, int, unsigned long, int, Motivo> filas = {
        // the second, third… status, what it says (0: the job is cancelled then), PINs sent
        {"taken out", 2, 0x80100069, 0, TarjetaRetirada},
        {"cancelled", 2, 0, 0, Cancelado},
        {"taken out before the second pass", 3, 0x80100069, 1, TarjetaRetirada},
        {"cancelled too late", 3, 0, 2, Ninguno},
    };
    for (const auto& [caso, cual, code, verificaciones, motivo] : filas) {
        SCOPED_TRACE(caso);
        Escenario e = Apoyo::EscenarioDe(2, false);
        e.fallos = {{.ins = 0x2A, .veces = 1, .respuesta = "6982"}};
        Mundo mundo(e);
        Control control;
        mundo.pcsc.antes = [&, n = cual, code = code](const std::string& funcion) mutable {
            if (funcion != "SCardStatus" || --n != 0) return;
            if (code == 0) control.Cancelar();
            mundo.pcsc.codigos[funcion] = code;
        };
        const auto r = Dnie::FirmarConTarjeta(mundo.lector, CertificadoDe("firma"), kDatos, kPin, {}, control);
        EXPECT_EQ(r.fallo.motivo, motivo) << r.fallo.frase;
        EXPECT_EQ(mundo.tarjeta.Verificaciones(), verificaciones);
        EXPECT_EQ(r.pinEnviado, verificaciones != 0);
        EXPECT_EQ(control.Ver().comprometido, verificaciones != 0);
        EXPECT_EQ(ElSistemaFalso().veces, 0);
        EXPECT_TRUE(Esperar([&] { return mundo.pcsc.contextos == 0; }));
    }
}

// Another program resets the card between our connection and our transaction.
TEST(DnieFallos, OtroProgramaLaReinicia) {
    for (const auto& [veces, bien] : {std::pair{1, true}, {3, true}, {4, false}}) {
        Mundo mundo(Apoyo::EscenarioDe(2, false));
        mundo.pcsc.antes = [&, n = veces](const std::string& funcion) mutable {
            if (funcion == "SCardBeginTransaction") mundo.pcsc.codigos[funcion] = n-- > 0 ? 0x80100068 : 0;
        };
        Control control;
        mundo.pcsc.lectores.insert(mundo.pcsc.lectores.begin(), "Otro Chip Contact");
        const auto r = Dnie::LeerTarjeta(mundo.lector, control);
        EXPECT_EQ(r.lector, mundo.lector);
        EXPECT_EQ(r.certificados.size(), bien ? 3U : 0U);
        EXPECT_EQ(r.fallo.motivo, bien ? Ninguno : TarjetaRetirada);
        mundo.Comprobar();
    }
}
