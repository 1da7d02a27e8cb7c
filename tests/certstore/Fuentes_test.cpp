// What the list and the signing call make of their sources.
#include <gmock/gmock.h>

#include "Entorno.h"
#include "FuentesFalsas.h"

using namespace Lx::CertStore;
using testing::ElementsAre;

namespace {

constexpr int64_t kPasado = 1000000000;
constexpr int64_t kFuturo = 4000000000;

Lx::X509::Certificado Cert(const std::string& nombre, const std::string& serie, int64_t fin = kFuturo) {
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

using Fuentes = Entorno;

TEST_F(Fuentes, ResumenDeTarjetaYAlmacen) {
    Lx::X509::Certificado ca = Cert("Raiz", "01");
    ca.isCA = true;
    const std::vector<Lx::X509::Certificado> dos = {Cert("Ana", "02"), ca, Cert("", "03")};
    const Apoyo::Filas<const char*, FuentesFalsas, const char*, const char*> kFilas = {
        {"", {{}, 0, dos}, "", "DNIe: sin lector | NSS (Linux): vacío"},
        {"", {{"A", "B"}, -1, dos}, "", "DNIe: sin lector | NSS (Linux): vacío"},
        {"", {{"A", "B"}, 1, dos}, "leer B", "DNIe: 2 de firma | NSS (Linux): vacío"},
        {"X", {{"A", "B"}, 1, dos}, "leer X", "DNIe: 2 de firma | NSS (Linux): vacío"},
        {"", {{"A"}, 0, {ca}, {}, "roto."}, "leer A", "DNIe: ninguno | NSS (Linux): roto."},
        {"", {{"A"}, 0, {}, {}, "roto."}, "leer A", "DNIe: ninguno (roto.) | NSS (Linux): roto."},
        {"", {{}, 0, {}, {DeAlmacen(ca)}, "roto."}, "", "DNIe: sin lector | NSS (Linux): 1 certificado(s)"},
    };
    for (const auto& [pedido, fuentes, llamada, dice] : kFilas) {
        SCOPED_TRACE(dice);
        g_fuentes = fuentes;
        Contexto ctx;
        ctx.lector = pedido;
        std::string resumen;
        const std::vector<Entrada> lista = Listar(ctx, resumen);
        EXPECT_EQ(resumen, dice);
        EXPECT_EQ(g_fuentes.llamada, llamada);
        if (resumen.find("2 de firma") == resumen.npos) continue;
        EXPECT_THAT(Etiquetas(lista), ElementsAre("DNIe · Ana", "DNIe · (sin nombre)"));
        EXPECT_EQ("leer " + lista[0].lector, llamada);
        EXPECT_TRUE(lista[0].conClave);
    }
}

// The same certificate: twice on the card stays, from other sources the first one stays. Expired ones go last.
TEST_F(Fuentes, RepetidosYOrden) {
    CrearPfx("a.p12", "Pfx", "x");
    g_fuentes.lectores = {"A"};
    g_fuentes.tarjeta = {Cert("Vieja", "01", kPasado), Cert("Ana", "02"), Cert("Ana", "02")};
    Lx::X509::Certificado otroEmisor = Cert("Otro", "05");
    otroEmisor.issuerDN = "CN=Otro emisor";
    g_fuentes.almacen = {DeAlmacen(Cert("Viejo", "04", kPasado)), DeAlmacen(Cert("Zoe", "05")),
                         DeAlmacen(Cert("Ana", "02")), DeAlmacen(Cert("Copia", "05")), DeAlmacen(otroEmisor)};
    Contexto ctx;
    ctx.rutaPkcs12 = base / "a.p12";
    ctx.clavePkcs12 = "x";
    std::string resumen;
    EXPECT_THAT(Etiquetas(Listar(ctx, resumen)),
                ElementsAre("DNIe · Ana", "DNIe · Ana", "NSS · Zoe", "NSS · Ana", "NSS · Otro", "PFX · a.p12",
                            "DNIe · Vieja", "NSS · Viejo"));
    EXPECT_EQ(resumen, "DNIe: 3 de firma | NSS (Linux): 5 certificado(s) | PKCS#12: 1 certificado(s) del PKCS#12");

    g_fuentes.almacen = {DeAlmacen(LeerCertificado("Pfx"))};
    g_fuentes.lectores.clear();
    EXPECT_THAT(Etiquetas(Listar(ctx, resumen)), ElementsAre("NSS · Pfx"));
}

TEST_F(Fuentes, FrasesAlFirmar) {
    const Lx::X509::Certificado bueno = Cert("Ana", "01");
    Lx::X509::Certificado invalido = bueno;
    invalido.valid = false;
    // Source, certificate, what to sign, PIN, what the source says, what it was asked, what comes out.
    const Apoyo::Filas<int, Lx::X509::Certificado, std::string, const char*, const char*, const char*, const char*>
        kFilas = {
            {0, invalido, "", "1", "", "", "No hay datos que firmar."},
            {0, invalido, "a", "1", "", "", "El certificado elegido no es valido."},
            {0, bueno, "a", "", "", "", "Se necesita el PIN de firma del DNIe."},
            {0, bueno, "a", "1", "PIN bloqueado.", "tarjeta L 1", "PIN bloqueado."},
            {1, bueno, "a", "1", "", "almacen 1 con", "El almacén del sistema no pudo firmar."},
            {2, bueno, "a", "", "", "almacen  con", "El almacén del sistema no pudo firmar."},
            {2, bueno, "a", "1", "rechazado.", "almacen 1 con", "rechazado."},
            {3, bueno, "a", "1", "", "", "no hay ruta del PKCS#12."},
            {7, bueno, "a", "1", "", "", "Origen de certificado desconocido."},
        };
    for (const auto& [origen, cert, datos, pin, error, llamada, dice] : kFilas) {
        SCOPED_TRACE(dice);
        g_fuentes = {};
        g_fuentes.error = error;
        const Entrada e{static_cast<Origen>(origen), "", "L", cert, true};
        Contexto ctx;
        ctx.pin = pin;
        std::vector<unsigned char> firma = {1, 2, 3};
        std::string mensaje = "de antes";
        EXPECT_FALSE(Firmar(e, ctx, {datos.begin(), datos.end()}, firma, mensaje));
        EXPECT_EQ(mensaje, dice);
        EXPECT_TRUE(firma.empty());
        EXPECT_EQ(g_fuentes.llamada, llamada);
    }
}

// A signature by another key must never leave this call, whichever source made it.
TEST_F(Fuentes, LaClaveHaDeSerLaDelCertificado) {
    const Apoyo::Identidad& ana = Apoyo::IdentidadComun();
    const std::vector<unsigned char> datos = {'h', 'o', 'l', 'a'};
    std::string mensaje = "de antes";
    const std::vector<unsigned char> suya = ana.firmar(datos, mensaje);
    const std::vector<unsigned char> ajena = Apoyo::CrearIdentidad(base).firmar(datos, mensaje);
    Contexto ctx;
    ctx.pin = "1";
    ctx.opcion = 0;
    Lx::X509::Certificado soloDn = ana.certificado;
    soloDn.subjectCN.clear();
    Lx::X509::Certificado sinNombre = soloDn;
    sinNombre.subjectDN.clear();
    for (const Origen origen : {Origen::Dnie, Origen::Personal, Origen::Sistema}) {
        std::vector<unsigned char> firma;
        g_fuentes.firma = suya;
        EXPECT_TRUE(Firmar({origen, "", "L", ana.certificado, true}, ctx, datos, firma, mensaje));
        EXPECT_EQ(firma, suya);
        EXPECT_EQ(mensaje, "");
        EXPECT_EQ(g_fuentes.llamada, origen == Origen::Dnie ? "tarjeta L 1" : "almacen 1 sin");

        g_fuentes.firma = ajena;
        for (const auto& [cert, nombre] : {std::pair(ana.certificado, "Ana Núñez Peña"),
                                           {soloDn, "CN=Ana Núñez Peña"},
                                           {sinNombre, "(sin nombre)"}}) {
            EXPECT_FALSE(Firmar({origen, "", "L", cert, true}, ctx, datos, firma, mensaje));
            EXPECT_EQ(mensaje,
                      "La clave que firmo no corresponde al certificado elegido (" + std::string(nombre) + ").");
            EXPECT_TRUE(firma.empty());
        }
    }
}

}  // namespace
