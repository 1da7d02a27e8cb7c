#include "crypto/LxX509.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "crypto/LxApi.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/crypto/Der.h"

namespace {

using namespace Lx;
using namespace PruebaDer;
using namespace std::string_literals;
using Bytes = std::vector<unsigned char>;

Bytes B(const std::string& s) {
    return {s.begin(), s.end()};
}

bool Parsear(const std::string& der, X509::Certificado& c) {
    return X509::Parsear(B(der), c);
}

std::string Fecha(int64_t epoch) {
    char texto[40];
    const time_t t = epoch;
    return {texto, std::strftime(texto, sizeof texto, "%F %TZ\n", std::gmtime(&t))};
}

enum Lectura { No, Si, Ca, NoRepudio };

// By openssl's own words on each certificate, fields and key in its order. Of a serial number it leaves out the zero
// byte that keeps it positive, which the record has as it stands in the certificate.
TEST(X509, CertificadosDeOpenssl) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string pem = carpeta / "c.pem", cnf = carpeta / "cnf", uso = "keyUsage=critical,";
    const std::string nombre = "/C=PE/ST=Lima/L=Lima/O=Ñandú y Cía/OU=Área 51/CN=José Peña";
    const std::string larga = "7F80112233445566778899AABBCCDDEEFF001122";
    // Kind of key, which ASN.1 string type the names get, subject, serial number, days, extensions.
    const Apoyo::Filas<std::string, const char*, std::string, std::string, const char*, std::string, Lectura> filas = {
        {"rsa:1024", "utf8only", nombre, larga, "30", "basicConstraints=CA:FALSE", Si},
        {"rsa:1024", "MASK:2048", nombre, "80", "30", "basicConstraints=critical,CA:TRUE", Ca},
        {"ec", "utf8only", nombre, "FF00" + larga, "30", "basicConstraints=CA:TRUE,pathlen:0", Ca},
        {"rsa:1024", "utf8only", "/O=Org/CN=x", "7F", "20000", "basicConstraints=CA:FALSE", Si},  // after 2050
        // The bit read depends on how many bits openssl leaves unused in the last byte.
        {"rsa:1024", "utf8only", "/CN=x", "00", "1", uso + "nonRepudiation,encipherOnly", NoRepudio},
        {"rsa:1024", "utf8only", "/CN=x", "01", "1", uso + "digitalSignature,cRLSign", NoRepudio},
        {"rsa:1024", "utf8only", "/CN=x", "A0", "1", uso + "nonRepudiation,cRLSign", Si},
    };
    for (const auto& [clave, mascara, sujeto, serie, dias, extension, lectura] : filas) {
        SCOPED_TRACE(clave + mascara + extension);
        Apoyo::EscribirFichero(cnf, "[req]\nprompt=no\nencrypt_key=no\nutf8=yes\nstring_mask=" + std::string(mascara) +
                                        "\ndistinguished_name=n\nx509_extensions=e\n[n]\nCN=x\n[e]\n" + extension +
                                        "\n");
        const bool rsa = clave != "ec";
        Apoyo::Exigir({"openssl", "req", "-x509", "-config", cnf, "-subj", sujeto, "-keyout", carpeta / "k", "-out",
                       pem, "-days", dias, "-set_serial", "0x" + serie, "-newkey", clave, "-pkeyopt",
                       rsa ? "rsa_keygen_pubexp:65537" : "ec_paramgen_curve:P-256"});
        const std::string der = Apoyo::Exigir({"openssl", "x509", "-in", pem, "-outform", "DER"});

        X509::Certificado c;
        ASSERT_TRUE(Parsear(der + "sobra", c));
        EXPECT_EQ(c.der, B(der));
        Bytes n, e;
        EXPECT_EQ(X509::ClaveRsa(c, n, e), rsa);
        EXPECT_EQ(e, rsa ? Bytes({1, 0, 1}) : Bytes());
        EXPECT_EQ("subject=" + c.subjectDN + "\nissuer=" + c.issuerDN + "\nserial=" + serie +
                      "\nnotBefore=" + Fecha(c.notBefore) + "notAfter=" + Fecha(c.notAfter) + "Modulus=" +
                      (rsa ? Api::BinToHex(n.data(), n.size()) : "No modulus for this public key type") + "\n",
                  Apoyo::Exigir({"openssl", "x509", "-in", pem, "-noout", "-nameopt", "utf8,sep_comma_plus_space,sname",
                                 "-dateopt", "iso_8601", "-subject", "-issuer", "-serial", "-startdate", "-enddate",
                                 "-modulus"}));
        EXPECT_EQ(c.serial, (serie[0] >= '8' ? "00" : "") + serie);
        EXPECT_EQ(c.isCA, lectura == Ca);
        EXPECT_EQ(c.nonRepudiation, lectura == NoRepudio);
    }
}

std::string Extension(const std::string& oid, const std::string& valor) {
    return Sec(Elem(6, oid) + Elem(4, valor));
}

TEST(X509, EstructuraAMano) {
    const std::string basica = "\x55\x1D\x13";
    const std::string uso = "\x55\x1D\x0F";
    const std::string si = Elem(1, "\xFF");
    constexpr auto kExt = &Partes::extensiones;
    const Apoyo::Filas<const char*, std::string Partes::*, std::string, Lectura> filas = {
        {"version 1", &Partes::serie, Elem(2, "\x01\xAB"), Si},
        {"no serial", &Partes::serie, "", No},
        {"validity isn't a SEQUENCE", &Partes::validez, Elem(0x31, std::string(30, '\0')), No},
        {"empty subject", &Partes::sujeto, Sec(""), No},
        {"no key", &Partes::clave, Elem(3, std::string(40, '\0')), No},
        {"damaged, then CA", kExt, Sec(Elem(6, uso)) + Elem(4, "x") + Extension(basica, Sec(si)), Ca},
        {"longer OID", kExt, Extension(basica + "\x01", Sec(si)), Si},
        {"cA FALSE", kExt, Extension(basica, Sec(Elem(1, "\0"s))), Si},
        {"one byte of bits", kExt, Extension(uso, Elem(3, "\0"s) + "\x40"), Si},
        {"2 unused", kExt, Extension(uso, Elem(3, "\x02\xFF")), Si},
    };
    for (const auto& [nombre, parte, valor, lectura] : filas) {
        SCOPED_TRACE(nombre);
        Partes partes;
        partes.*parte = valor;
        X509::Certificado c;
        EXPECT_EQ(Parsear(Cert(partes), c), lectura != No);
        EXPECT_EQ(c.valid, lectura != No);
        EXPECT_EQ(c.isCA, lectura == Ca);
        EXPECT_EQ(c.nonRepudiation, lectura == NoRepudio);
    }
}

TEST(X509, CamposYFallosParciales) {
    X509::Certificado c;
    Partes p;
    p.validez = Sec(Elem(23, "250101000000Z"));  // one date alone isn't used
    p.emisor = p.sujeto = Sec(Rdn("\x55\x04\x0A", 12, "Org"));
    ASSERT_TRUE(Parsear(Cert(p), c));
    EXPECT_EQ(c.notBefore, 0);
    EXPECT_EQ(c.subjectCN, "O=Org");
    // Everything after the failing part stays unread, and a second use of the record keeps nothing of the first.
    p.validez = Elem(4, std::string(40, 'x'));
    EXPECT_FALSE(Parsear(Cert(p), c));
    EXPECT_EQ(c.issuerDN, "O=Org");
    EXPECT_EQ(c.subjectDN, "");
    EXPECT_TRUE(c.der.empty());
    const std::string entero = Cert(Partes());
    for (size_t n = 0; n < entero.size(); ++n) EXPECT_FALSE(Parsear(entero.substr(0, n), c)) << n << " bytes";
}

TEST(X509, ExtraerDeCualquierSitio) {
    Partes otro, grande;
    otro.sujeto = Sec(Rdn("\x55\x04\x03", 12, "Otra"));
    grande.sujeto = Sec(Rdn("\x55\x04\x03", 12, "Grande"));
    grande.extensiones = Extension("\x55\x1D\x0E", Elem(4, std::string(9000, '\0')));
    const std::string corto = Cert(Partes());
    std::string fallidos;  // as large as the big one, each a failed attempt of the last pass
    for (int i = 0; i < 24; ++i) fallidos += "\x30\x82\x20\x10\x04\x01z";
    // Without a name there is nothing to find.
    const Apoyo::Filas<const char*, std::string, std::string> filas = {
        {"the first of two", "zz" + corto + Cert(otro), "Ana"},
        {"over 8192 bytes and not at the start", "??" + Cert(grande), "Grande"},
        {"23 attempts before a large one", fallidos.substr(7) + Cert(grande), "Grande"},
        {"24 attempts before a large one", fallidos + Cert(grande), ""},
        {"cut", "zz" + corto.substr(0, corto.size() - 1), ""},
    };
    for (const auto& [nombre, datos, cn] : filas) {
        SCOPED_TRACE(nombre);
        X509::Certificado c;
        EXPECT_EQ(X509::ExtraerDe(B(datos), c), !cn.empty());
        EXPECT_EQ(c.subjectCN, cn);
    }
    X509::Certificado c;
    EXPECT_FALSE(X509::ExtraerDe(Bytes(1U << 20, '0'), c));
}

TEST(X509, ClaveRsaAMano) {
    const std::string bits0(1, '\0');
    const auto clave = [&](const std::string& contenido) { return Sec(Sec("") + Elem(3, bits0 + contenido)); };
    const Apoyo::Filas<const char*, std::string, std::string, std::string> filas = {
        {"zeros in front", clave(Sec(Elem(2, "\0\0\x80\x01"s) + Elem(2, "\0\x03"s))), "8001", "03"},
        {"empty exponent", clave(Sec(Elem(2, "\x03") + Elem(2, ""))), "", ""},
        {"no algorithm", Sec(Elem(3, bits0 + Sec(Elem(2, "\x03") + Elem(2, "\x03")))), "", ""},
    };
    for (const auto& [nombre, bits, modulo, exponente] : filas) {
        SCOPED_TRACE(nombre);
        Partes p;
        p.clave = bits;
        X509::Certificado c;
        ASSERT_TRUE(Parsear(Cert(p), c));
        Bytes n = {1}, e = {1};
        EXPECT_EQ(X509::ClaveRsa(c, n, e), !modulo.empty());
        EXPECT_EQ(Api::BinToHex(n.data(), n.size()), modulo);
        EXPECT_EQ(Api::BinToHex(e.data(), e.size()), exponente);
    }
}

TEST(X509, CaducidadFechaYAlias) {
    X509::Certificado c;
    const auto ahora = static_cast<int64_t>(std::time(nullptr));
    c.valid = true;
    for (const auto& [hasta, caducado] : {std::pair{int64_t{0}, false}, {ahora - 60, true}, {ahora + 60, false}}) {
        c.notAfter = hasta;
        EXPECT_EQ(c.Caducado(), caducado) << hasta;
    }
    setenv("TZ", "<-05>5", 1);
    tzset();
    c.notAfter = 1795243980;  // 2026-11-21 06:53:00 UTC
    EXPECT_EQ(c.FechaVencimiento(), "21/11/2026 01:53:00");
    unsetenv("TZ");
    tzset();

    EXPECT_EQ(c.Alias("mia") + c.Alias(""), "miaCertificado DNIe");
    c.nonRepudiation = true;
    EXPECT_EQ(c.Alias(""), "Firma Digital (DNIe)");
    c.isCA = true;
    EXPECT_EQ(c.Alias("mia"), "Certificado CA emisor");
}

}  // namespace
