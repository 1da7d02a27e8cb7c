#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cms/LxCms.h"
#include "cms/LxCmsFirmante.h"
#include "crypto/LxDer.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace LxCms;
using std::string_literals::operator""s;
using testing::HasSubstr;

using Bytes = std::vector<unsigned char>;

constexpr auto& Der = Lx::Der::Elemento;

Bytes ABytes(const std::string& texto) {
    return {texto.begin(), texto.end()};
}

TEST(Cms, LongitudesDer) {
    for (const auto& [n, entero] : {std::pair(uint64_t{0}, "\x02\x01\x00"s),
                                    {127, "\x02\x01\x7F"s},
                                    {128, "\x02\x02\x00\x80"s},
                                    {0x0102, "\x02\x02\x01\x02"s},
                                    {UINT64_MAX, "\x02\x09\x00"s + std::string(8, '\xFF')}})
        EXPECT_EQ(Lx::Der::Entero(n), entero) << n;
}

// A certificate down to its key, with the pieces that matter by parameter.
Bytes Certificado(const std::string& version, const std::string& serie, const std::string& emisor,
                  const std::string& clave) {
    const std::string vacia = Der(0x30, "");
    const std::string spki = Der(0x30, AlgId(kOidRsa, true) + Der(0x03, "\0"s + clave));
    return ABytes(Der(0x30, Der(0x30, version + serie + vacia + emisor + vacia + vacia + spki) + vacia));
}

TEST(Cms, IdentidadDelFirmante) {
    const std::string v3 = Der(0xA0, "\x02\x01\x02"), serie = "\x02\x02\x00\x99"s, emisor = Der(0x30, "emisor");
    const auto rsa = [](const std::string& modulo) { return Der(0x30, Der(0x02, modulo) + "\x02\x01\x03"); };
    // With a modulus of no bytes it is refused.
    const Apoyo::Filas<const char*, Bytes, size_t> casos = {
        {"v3, 2048 bits", Certificado(v3, serie, emisor, rsa("\0"s + std::string(256, '\x80'))), 256},
        {"v1", Certificado("", serie, emisor, rsa(std::string(128, '\x40'))), 128},
        {"serial isn't an INTEGER", Certificado(v3, Der(0x04, "x"), emisor, rsa("abc")), 0},
        {"issuer isn't a SEQUENCE", Certificado(v3, serie, Der(0x31, "x"), rsa("abc")), 0},
        {"EC point", Certificado(v3, serie, emisor, "\x04" + std::string(64, 'x')), 0},
        {"empty modulus", Certificado(v3, serie, emisor, rsa("")), 0},
        {"key without a number", Certificado(v3, serie, emisor, Der(0x30, "\x05\x00"s)), 0},
    };
    for (const auto& [nombre, der, modulo] : casos) {
        SCOPED_TRACE(nombre);
        Sid sid{"viejo", "viejo", 7};
        EXPECT_EQ(ExtraerSid(der, sid), modulo > 0);
        EXPECT_EQ(sid.modLen, modulo);
        EXPECT_EQ(sid.issuer, modulo > 0 ? emisor : "");
        EXPECT_EQ(sid.serial, modulo > 0 ? serie : "");
    }
    for (Bytes der = Certificado("", serie, emisor, rsa("abc")); !der.empty();) {
        der.pop_back();
        Sid sid;
        EXPECT_FALSE(ExtraerSid(der, sid)) << der.size();
    }
}

TEST(Cms, OrdenDeLosAtributos) {
    const Sid sid{Der(0x30, "emisor"), "\x02\x01\x05"s, 256};
    // The digest of the certificate "abc" is that of FIPS 180-4.
    const std::string hash =
        "\xBA\x78\x16\xBF\x8F\x01\xCF\xEA\x41\x41\x40\xDE\x5D\xAE\x22\x23"
        "\xB0\x03\x61\xA3\x96\x17\x7A\x9C\xB4\x10\xFF\x61\xF2\x00\x15\xAD"s;
    const std::string atributos = SignedAttributes(Bytes(32, 0x11), {'a', 'b', 'c'}, sid);
    const std::string tipo =
        "\x30\x18\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x09\x03"
        "\x31\x0B\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01"s;
    const std::string resumen =
        "\x30\x2F\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x09\x04\x31\x22\x04\x20" + std::string(32, '\x11');
    const std::string certificado =
        "\x30\x48\x06\x0B\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x02\x2F\x31\x39\x30\x37\x30\x35\x30\x33\x04\x20" + hash +
        "\x30\x0F\x30\x0A\xA4\x08\x30\x06"
        "emisor\x02\x01\x05";
    EXPECT_EQ(atributos, "\x31\x81\x95" + tipo + resumen + certificado);
    // A SET OF is ordered by its encodings: a digest this short comes first.
    EXPECT_THAT(SignedAttributes({}, {'a'}, sid), HasSubstr("\x31\x02\x04\x00"s + tipo));
}

// Signs as the engine does, and what `openssl cms` says of it.
// Of several certificates the one that the signer's entry names, by issuer and number or by its key.
TEST(Cms, ElCertificadoDelFirmante) {
    const Apoyo::CarpetaTemporal carpeta;
    const Apoyo::Identidad &ana = Apoyo::IdentidadComun(), otra = Apoyo::CrearIdentidad(carpeta.Ruta());
    for (const auto& [quien, con] : {std::pair(&ana, &otra), {&otra, &ana}}) {
        for (const char* como : {"-binary", "-keyid"}) {
            const std::string cms = Apoyo::Exigir({"openssl", "cms", "-sign", como, "-outform", "DER", "-signer",
                                                   quien->cert, "-inkey", quien->clave, "-certfile", con->cert},
                                                  "hola");
            EXPECT_EQ(CertificadoDelFirmante(cms + "\0\0"s), quien->certificado.der) << como;
            for (size_t i = 0; i < cms.size(); i += 7) EXPECT_TRUE(CertificadoDelFirmante(cms.substr(0, i)).empty());
        }
    }
}

TEST(Cms, LoQueDiceOpenssl) {
    const Apoyo::Identidad& identidad = Apoyo::IdentidadComun();
    const Bytes& der = identidad.certificado.der;
    const std::string contenido = "lo que se firma\r\n\0\x1A sin convertir\n"s;
    Sid sid;
    ASSERT_TRUE(ExtraerSid(der, sid));
    const std::string hash = Apoyo::Exigir({"openssl", "dgst", "-sha256", "-binary"}, contenido);
    const std::string atributos = SignedAttributes(ABytes(hash), der, sid);
    std::string nota;
    const std::string cms = ConstruirCms(der, sid, atributos, identidad.firmar(ABytes(atributos), nota));
    EXPECT_EQ(ConstruirCms(der, sid, SignedAttributes(Bytes(32, 0), der, sid), Bytes(sid.modLen, 0)).size(),
              cms.size());

    EXPECT_EQ(Apoyo::VerificarCms(cms, contenido, identidad).codigo, 0);
    // From the signer's information on: identity, attributes, signature.
    for (size_t i = cms.rfind(sid.issuer); i < cms.size(); i += 61) {
        std::string otro = cms;
        otro[i] = static_cast<char>(otro[i] ^ 1);
        EXPECT_NE(Apoyo::VerificarCms(otro, contenido, identidad).codigo, 0) << i;
    }
    const std::string texto = Apoyo::Exigir({"openssl", "cms", "-cmsout", "-print", "-inform", "DER"}, cms);
    for (const char* parte : {"eContent: <ABSENT>", "crls:\n      <ABSENT>", "unsignedAttrs:\n          <ABSENT>",
                              "algorithm: sha256 (2.16.840.1.101.3.4.2.1)\n        parameter: <ABSENT>",
                              "algorithm: sha256 (2.16.840.1.101.3.4.2.1)\n          parameter: <ABSENT>",
                              "algorithm: rsaEncryption (1.2.840.113549.1.1.1)\n          parameter: NULL"})
        EXPECT_EQ(Apoyo::Cuenta(texto, parte), 1U) << parte;
}

}  // namespace
