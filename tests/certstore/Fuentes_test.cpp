// What the list and the signing call make of their sources.
#include <gmock/gmock.h>

#include "Entorno.h"
#include "FuentesFalsas.h"

using namespace Lx::CertStore;
using testing::ElementsAre;

namespace {

constexpr int64_t kPasado = 1000000000;

Lx::X509::Certificado Cert(const std::string& nombre, const std::string& serie, int64_t fin = 4000000000) {
    Lx::X509::Certificado c;
    c.subjectCN = nombre;
    c.subjectDN = nombre.empty() ? "" : "CN=" + nombre;
    c.issuerDN = "CN=Emisor";
    c.serial = serie;
    c.notAfter = fin;
    c.valid = true;
    c.der = {0x30, 0x00};
    return c;
}

Entrada DeAlmacen(const Lx::X509::Certificado& c) {
    return {Origen::Sistema, "NSS · " + c.subjectCN, "", c, false};
}

std::vector<std::string> Etiquetas(const std::vector<Entrada>& lista) {
    std::vector<std::string> e;
    for (const Entrada& x : lista) e.push_back(x.etiqueta);
    return e;
}

class Fuentes : public Entorno {
  protected:
    static Contexto ConFichero(const std::string& nombre) {
        Contexto ctx;
        ctx.rutaPkcs12 = base / nombre;
        ctx.clavePkcs12 = "x";
        return ctx;
    }
};

Lx::Dnie::Lectura Lectura(const std::string& lector, const std::vector<Lx::X509::Certificado>& certificados,
                          const std::string& estado = "") {
    Lx::Dnie::Lectura l;
    l.lector = lector;
    for (const auto& c : certificados) l.certificados.push_back({"uso de " + c.subjectCN, c, "", c.nonRepudiation});
    if (!estado.empty()) l.fallo = {Lx::Motivo::TarjetaIlegible, estado};
    return l;
}

TEST_F(Fuentes, ResumenDeTarjetaYAlmacen) {
    Lx::X509::Certificado ca = Cert("Raiz", "01"), deFirma = Cert("Ana", "02");
    ca.isCA = deFirma.nonRepudiation = true;
    const std::vector<Lx::X509::Certificado> dos = {deFirma, ca, Cert("", "03")};
    const Lx::Aviso roto = {Lx::Motivo::SinAlmacen, "roto."};
    const Apoyo::Filas<const char*, FuentesFalsas, const char*> kFilas = {
        {"", {Lectura("", {}, "sin servicio.")}, "DNIe: sin lector | NSS (Linux): vacío"},
        {"X", {Lectura("B", dos)}, "DNIe: 2 de firma | NSS (Linux): vacío"},
        {"", {Lectura("A", {ca}, "roto."), {}, roto}, "DNIe: ninguno | NSS (Linux): roto."},
        {"", {Lectura("A", {}, "roto."), {}, roto}, "DNIe: ninguno (roto.) | NSS (Linux): roto."},
        {"", {Lectura("", {}), {DeAlmacen(ca)}, roto}, "DNIe: sin lector | NSS (Linux): 1 certificado(s)"},
    };
    for (const auto& [pedido, fuentes, dice] : kFilas) {
        SCOPED_TRACE(dice);
        g_fuentes = fuentes;
        Contexto ctx;
        ctx.lector = pedido;
        Lx::Control control;
        const Listado l = ListarFuentes(ctx, control);
        EXPECT_EQ(l.resumen, dice);
        EXPECT_EQ(g_fuentes.llamada, "leer " + ctx.lector + " almacen");
        ASSERT_EQ(l.fuentes.size(), 2U);
        const FuenteListada& tarjeta = *l.De(Origen::Dnie);
        EXPECT_EQ(tarjeta.quien, fuentes.tarjeta.lector);
        EXPECT_EQ(tarjeta.fallo.motivo, fuentes.tarjeta.fallo.motivo);
        EXPECT_EQ(l.De(Origen::Sistema)->fallo.motivo, fuentes.fallo.motivo);
        EXPECT_EQ(l.De(Origen::Sistema)->cuantos, fuentes.almacen.size());
        EXPECT_EQ(l.De(Origen::Pkcs12), nullptr);
        EXPECT_EQ(tarjeta.cuantos + fuentes.almacen.size(), l.entradas.size());
        if (tarjeta.cuantos == 0) continue;
        EXPECT_THAT(Etiquetas(l.entradas), ElementsAre("DNIe · Ana", "DNIe · (sin nombre)"));
        EXPECT_EQ(l.entradas[0].lector, "B");
        EXPECT_EQ(l.entradas[0].uso, "uso de Ana");
        EXPECT_TRUE(l.entradas[0].conClave && l.entradas[0].deFirma && !l.entradas[1].deFirma);
    }
}

// The same certificate: twice on the card stays, from other sources the first one stays. Expired ones go last.
TEST_F(Fuentes, RepetidosYOrden) {
    CrearPfx("a.p12", "Pfx", "x");
    g_fuentes.tarjeta = Lectura("A", {Cert("Vieja", "01", kPasado), Cert("Ana", "02"), Cert("Ana", "02")});
    Lx::X509::Certificado otroEmisor = Cert("Otro", "05");
    otroEmisor.issuerDN = "CN=Otro emisor";
    g_fuentes.almacen = {DeAlmacen(Cert("Viejo", "04", kPasado)), DeAlmacen(Cert("Zoe", "05")),
                         DeAlmacen(Cert("Ana", "02")), DeAlmacen(Cert("Copia", "05")), DeAlmacen(otroEmisor)};
    const Contexto ctx = ConFichero("a.p12");
    Lx::Control control;
    const Listado todo = ListarFuentes(ctx, control);
    EXPECT_THAT(Etiquetas(todo.entradas), ElementsAre("DNIe · Ana", "DNIe · Ana", "NSS · Zoe", "NSS · Ana",
                                                      "NSS · Otro", "PFX · a.p12", "DNIe · Vieja", "NSS · Viejo"));
    const std::string resto = " | NSS (Linux): 5 certificado(s) | PKCS#12: 1 certificado(s) del PKCS#12";
    EXPECT_EQ(todo.resumen, "DNIe: 3 de firma" + resto);

    // The card alone: the others aren't asked again.
    g_fuentes = {Lectura("A", {Cert("Luz", "06")})};
    const Listado otra = ListarFuentes(ctx, control, &todo);
    EXPECT_EQ(g_fuentes.llamada, "leer  ");
    EXPECT_THAT(Etiquetas(otra.entradas),
                ElementsAre("DNIe · Luz", "NSS · Zoe", "NSS · Ana", "NSS · Otro", "PFX · a.p12", "NSS · Viejo"));
    EXPECT_EQ(otra.resumen, "DNIe: 1 de firma" + resto);
    EXPECT_EQ(otra.De(Origen::Pkcs12)->quien, ctx.rutaPkcs12);
}

// Whether the file of the same certificate could sign, too, is said where the certificate is listed.
TEST_F(Fuentes, RepetidoEnElFichero) {
    CrearPfx("a.p12", "Pfx", "x");
    JuntarPfx("sinclave.p12", {{"a.p12", 0}}, "x");
    const Lx::X509::Certificado suyo = LeerCertificado("Pfx");
    Lx::X509::Certificado homonimo = suyo;
    homonimo.der.push_back(0);
    for (const auto& [fichero, cert, dentro] :
         {std::tuple("a.p12", suyo, true), {"sinclave.p12", suyo, false}, {"a.p12", homonimo, false}}) {
        g_fuentes.almacen = {DeAlmacen(cert)};
        Lx::Control control;
        const Listado l = ListarFuentes(ConFichero(fichero), control);
        EXPECT_THAT(Etiquetas(l.entradas), ElementsAre("NSS · Pfx"));
        EXPECT_EQ(l.entradas[0].enFichero, dentro) << fichero;
    }
}

TEST_F(Fuentes, FrasesAlFirmar) {
    using Lx::Motivo;
    const Lx::X509::Certificado bueno = Cert("Ana", "01");
    Lx::X509::Certificado invalido = bueno;
    invalido.valid = false;
    const Lx::Aviso nada, bloqueado = {Motivo::PinBloqueado, "PIN bloqueado."}, mudo = {Motivo::Cancelado, ""};
    // Source, certificate, what to sign, PIN, what the source says, what it was asked, what comes out.
    const Apoyo::Filas<int, Lx::X509::Certificado, std::string, const char*, Lx::Aviso, const char*, Lx::Aviso> kFilas =
        {
            {0, invalido, "", "1", nada, "", {Motivo::ClaveNoFirma, "No hay datos que firmar."}},
            {0, invalido, "a", "1", nada, "", {Motivo::CertificadoInutil, "El certificado elegido no es valido."}},
            {0, bueno, "a", "", nada, "", {Motivo::PinAusente, "Se necesita el PIN de firma del DNIe."}},
            {0, bueno, "a", "1", bloqueado, "tarjeta L 1", bloqueado},
            {0, bueno, "a", "1", nada, "tarjeta L 1", {Motivo::ClaveNoFirma, "El DNIe no firmo."}},
            {1, bueno, "a", "1", nada, "almacen", {Motivo::AlmacenNoFirma, "El almacén del sistema no pudo firmar."}},
            {2, bueno, "a", "", mudo, "almacen", {Motivo::Cancelado, "El almacén del sistema no pudo firmar."}},
            {2, bueno, "a", "1", bloqueado, "almacen", bloqueado},
            {3, bueno, "a", "1", nada, "", {Motivo::Pkcs12NoExiste, "no hay ruta del PKCS#12."}},
            {7, bueno, "a", "1", nada, "", {Motivo::CertificadoInutil, "Origen de certificado desconocido."}},
        };
    for (const auto& [origen, cert, datos, pin, fallo, llamada, espero] : kFilas) {
        SCOPED_TRACE(espero.frase);
        g_fuentes = {};
        g_fuentes.fallo = fallo;
        const Entrada e{static_cast<Origen>(origen), "", "L", cert, true};
        Contexto ctx;
        ctx.pin = pin;
        std::vector<unsigned char> firma = {1, 2, 3};
        std::string mensaje = "de antes";
        EXPECT_FALSE(Firmar(e, ctx, {datos.begin(), datos.end()}, firma, mensaje));
        EXPECT_EQ(mensaje, espero.frase);
        EXPECT_TRUE(firma.empty());
        EXPECT_EQ(g_fuentes.llamada, llamada);
        Lx::Control control;
        const FirmaHecha hecha = FirmarCon(e, ctx, {datos.begin(), datos.end()}, {}, control);
        EXPECT_EQ(hecha.fallo.motivo, espero.motivo);
        EXPECT_EQ(hecha.intentos, g_fuentes.llamada == "tarjeta L 1" ? 2 : -1);
    }
}

// A signature by another key must never leave this call, whichever source made it.
TEST_F(Fuentes, LaClaveHaDeSerLaDelCertificado) {
    const Apoyo::Identidad& ana = Apoyo::IdentidadComun();
    const std::vector<unsigned char> datos = {'h', 'o', 'l', 'a'};
    std::string mensaje;
    const std::vector<unsigned char> suya = ana.firmar(datos, mensaje);
    const std::vector<unsigned char> ajena = Apoyo::CrearIdentidad(base).firmar(datos, mensaje);
    Contexto ctx;
    ctx.pin = "1";
    const PreguntaClave pregunta = [](const std::string&, int, bool, std::string&) { return false; };
    Lx::X509::Certificado soloDn = ana.certificado;
    soloDn.subjectCN.clear();
    for (const Origen origen : {Origen::Dnie, Origen::Personal, Origen::Sistema}) {
        Lx::Control control;
        g_fuentes.firma = suya;
        const FirmaHecha bien = FirmarCon({origen, "", "L", ana.certificado, true}, ctx, datos, pregunta, control);
        EXPECT_EQ(bien.firma, suya);
        EXPECT_FALSE(bien.fallo);
        EXPECT_EQ(bien.nota, origen == Origen::Dnie ? "nota" : "");
        EXPECT_EQ(g_fuentes.llamada, origen == Origen::Dnie ? "tarjeta L 1" : "almacen con pregunta");

        g_fuentes.firma = ajena;
        for (const auto& cert : {ana.certificado, soloDn}) {
            const std::string nombre = cert.subjectCN.empty() ? "CN=Ana Núñez Peña" : "Ana Núñez Peña";
            const FirmaHecha mal = FirmarCon({origen, "", "L", cert, true}, ctx, datos, pregunta, control);
            EXPECT_EQ(mal.fallo.motivo, Lx::Motivo::ClaveAjena);
            EXPECT_EQ(mal.fallo.frase, "La clave que firmo no corresponde al certificado elegido (" + nombre + ").");
            EXPECT_TRUE(mal.firma.empty());
        }
    }
}

}  // namespace
