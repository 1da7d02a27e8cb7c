// PKCS#12 files through the real openssl.
#include "certstore/Pkcs12.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "Entorno.h"
#include "certstore/LxTemporales.h"

namespace fs = std::filesystem;
using namespace Lx::CertStore;
using Apoyo::EscribirFichero;
using Apoyo::LeerFichero;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

namespace {

constexpr const char* kAntes = "DNIe: sin lector | NSS (Linux): vacío | PKCS#12: ";
constexpr const char* kSinCertificado =
    "openssl no extrajo ningun certificado del PKCS#12 (contraseña incorrecta o fichero dañado).";
constexpr const char* kNoAbre = "openssl no pudo abrir el PKCS#12 (contraseña incorrecta o fichero dañado).";
constexpr const char* kSinTemporal = "no se pudo crear un temporal para la contraseña.";
const std::vector<unsigned char> kDatos = {'h', 'o', 'l', 'a', 0, 0xFF};

class Pkcs12 : public Entorno {
  protected:
    [[nodiscard]] static Contexto Con(const fs::path& ruta, const std::string& clave) {
        Contexto ctx;
        ctx.rutaPkcs12 = base / ruta;
        ctx.clavePkcs12 = clave;
        return ctx;
    }

    // Signs kDatos as that certificate; what the source says when it fails.
    [[nodiscard]] static std::string FirmarComo(const std::string& nombre, const Contexto& ctx) {
        std::vector<unsigned char> firma;
        std::string mensaje;
        const Entrada e{Origen::Pkcs12, "", "", LeerCertificado(nombre), true};
        const bool bien = Firmar(e, ctx, kDatos, firma, mensaje);
        EXPECT_EQ(bien, mensaje.empty());
        EXPECT_EQ(bien, !firma.empty());
        EscribirFichero(base / "firma", std::string(firma.begin(), firma.end()));
        return mensaje;
    }

    // By a public key taken out of the certificate by openssl.
    static void ComprobarConOpenssl(const std::string& nombre) {
        EscribirFichero(base / "datos", std::string(kDatos.begin(), kDatos.end()));
        Orden("openssl x509 -in " + Ruta2Cmd(nombre + ".crt") + " -pubkey -noout -out publica");
        Orden("openssl dgst -sha256 -verify publica -signature firma datos");
    }
};

TEST_F(Pkcs12, ListaYFirma) {
    const Apoyo::Filas<const char*, const char*> kFilas = {
        {"a.p12", "secreta"},           {"vacia.pfx", ""},
        {"-in.p12", " con  espacios "}, {"de 'José' Muñoz;\n$(id)\\/mi \"firma\" ñ.p12", "co'mi\"llas`id`$HOME\\"},
        {"b.p12", "ñandú €"},
    };
    for (const auto& [ruta, clave] : kFilas) {
        SCOPED_TRACE(ruta);
        CrearPfx(ruta, "José Muñoz", clave);
        const Contexto ctx = Con(ruta, clave);
        std::string resumen;
        const std::vector<Entrada> lista = Listar(ctx, resumen);
        EXPECT_EQ(resumen, std::string(kAntes) + "1 certificado(s) del PKCS#12");
        ASSERT_EQ(lista.size(), 1U);
        EXPECT_EQ(lista[0].etiqueta, "PFX · " + fs::path(ruta).filename().string());
        EXPECT_EQ(lista[0].origen, Origen::Pkcs12);
        EXPECT_TRUE(lista[0].conClave);
        EXPECT_EQ(lista[0].cert.der, LeerCertificado("José Muñoz").der);

        // The key file of the listing is all that stays.
        ASSERT_THAT(Nombres(temp), ElementsAre(EndsWith(".key")));
        EXPECT_EQ(FirmarComo("José Muñoz", ctx), "");
        ComprobarConOpenssl("José Muñoz");
        EXPECT_THAT(Nombres(temp), ElementsAre(EndsWith(".key")));
        QuitarTemporales();
        EXPECT_THAT(Nombres(temp), IsEmpty());
    }
}

TEST_F(Pkcs12, Fallos) {
    CrearPfx("bueno.p12", "Ana", "x");
    CrearPfx("sinclave.p12", "Ana", "x", "-nokeys");
    Orden("printf 'hola' >otro.p12; mkdir carpeta.p12");
    const Apoyo::Filas<const char*, const char*, std::string, std::string> kFilas = {
        {"bueno.p12", "mala", kSinCertificado, kNoAbre},
        {"otro.p12", "x", kSinCertificado, kNoAbre},
        {"carpeta.p12", "x", kSinCertificado, kNoAbre},
        {"falta.p12", "x", "no existe el fichero " + (base / "falta.p12").string(), kNoAbre},
        // Opens well, and holds nothing to sign with.
        {"sinclave.p12", "x", kSinCertificado, "openssl no pudo firmar con la clave del PKCS#12."},
    };
    for (const auto& [ruta, clave, lista, firma] : kFilas) {
        SCOPED_TRACE(std::string(ruta) + " " + clave);
        const Contexto ctx = Con(ruta, clave);
        std::string resumen;
        EXPECT_THAT(Listar(ctx, resumen), IsEmpty());
        EXPECT_EQ(resumen, std::string(kAntes) + lista);
        EXPECT_EQ(FirmarComo("Ana", ctx), firma);
        EXPECT_THAT(Nombres(temp), IsEmpty());
    }
}

// It is the signing engine that refuses other keys than RSA; this source lists them and signs with them.
TEST_F(Pkcs12, CurvaEliptica) {
    CrearIdentidad("Eva", "ec -pkeyopt ec_paramgen_curve:P-256");
    CrearPfx("ec.p12", "Eva", "x");
    std::string resumen;
    EXPECT_EQ(Listar(Con("ec.p12", "x"), resumen).size(), 1U);
    EXPECT_EQ(FirmarComo("Eva", Con("ec.p12", "x")), "");
    ComprobarConOpenssl("Eva");
}

TEST_F(Pkcs12, VariosCertificados) {
    CrearIdentidad("Luis");
    CrearPfx("cadena.p12", "Ana", "x", "-certfile Luis.crt");
    std::string resumen;
    EXPECT_EQ(Listar(Con("cadena.p12", "x"), resumen).size(), 1U) << "only the one that the key belongs to";
    EXPECT_EQ(FirmarComo("Luis", Con("cadena.p12", "x")),
              "La clave que firmo no corresponde al certificado elegido (Luis).");

    // Two end certificates, text around them, a block that is no Base64 and one without an end.
    PonerOpenssl(R"(case "$*" in *-nokeys*) cat "${0%/bin/openssl}/varios.pem"; exit 0;; *-nocerts*) exit 1;; esac)");
    Orden(
        "{ cat Ana.crt; echo -----BEGIN CERTIFICATE-----; echo '!'; echo -----END CERTIFICATE-----; "
        "echo subject=x; cat Luis.crt; echo -----BEGIN CERTIFICATE-----; echo MIIB; } >varios.pem");
    const std::vector<Entrada> lista = Listar(Con("cadena.p12", "x"), resumen);
    EXPECT_EQ(resumen, std::string(kAntes) + "2 certificado(s) del PKCS#12 (sin clave privada: " + kNoAbre + ")");
    ASSERT_EQ(lista.size(), 2U);
    EXPECT_EQ(lista[0].cert.subjectCN, "Ana");
    EXPECT_EQ(lista[1].cert.subjectCN, "Luis");
    EXPECT_FALSE(lista[0].conClave);
}

TEST_F(Pkcs12, NombresTemporales) {
    for (const char* variable : {"TMP", "TMPDIR"}) setenv(variable, (base / variable).c_str(), 1);
    const std::string fin = "/lxcert_[0-9]+_" + std::to_string(getpid()) + "[.]msg", b = base;
    std::string anterior;
    for (const auto& [variable, carpeta] :
         {std::pair("TEMP", b + "/temp"), {"TMP", b + "/TMP"}, {"TMPDIR", b + "/TMPDIR"}, {"TEMP", "/tmp"}}) {
        const std::string ruta = RutaTemporal(".msg");
        EXPECT_THAT(ruta, testing::MatchesRegex(carpeta + fin));
        EXPECT_NE(ruta, anterior);
        anterior = ruta;
        setenv(variable, "", 1);
    }
    for (const char* variable : {"TMP", "TMPDIR"}) unsetenv(variable);
}

// Names can be foreseen: links that somebody put there are neither followed nor removed.
TEST_F(Pkcs12, EnlacesEnLosNombres) {
    CrearPfx("a.p12", "Ana", "x");
    EscribirFichero(base / "victima", "intacta");
    const std::string ahora = fs::path(RutaTemporal("")).filename();
    const int n = std::atoi(ahora.c_str() + std::string("lxcert_").size());
    for (int i = 1; i <= 5; ++i)
        for (const char* sufijo : {".pass", ".key", ".msg", ".sig"})
            fs::create_symlink(base / "victima",
                               temp / ("lxcert_" + std::to_string(n + i) + "_" + std::to_string(getpid()) + sufijo));
    const std::vector<std::string> antes = Nombres(temp);
    EXPECT_EQ(FirmarComo("Ana", Con("a.p12", "x")), "");
    EXPECT_EQ(LeerFichero(base / "victima"), "intacta");
    EXPECT_EQ(Nombres(temp), antes);
}

TEST_F(Pkcs12, TemporalesImposibles) {
    CrearPfx("a.p12", "Ana", "x");
    const Contexto ctx = Con("a.p12", "x");
    std::string resumen;

    setenv("TEMP", (base / "no existe").c_str(), 1);
    EXPECT_THAT(Listar(ctx, resumen), IsEmpty());
    EXPECT_EQ(resumen, std::string(kAntes) + kSinTemporal);
    EXPECT_EQ(FirmarComo("Ana", ctx), kSinTemporal);

    // A full disk: the file comes into being, its content doesn't.
    setenv("TEMP", temp.c_str(), 1);
    rlimit limite{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limite), 0);
    const rlimit cero{0, limite.rlim_max};
    const auto anterior = signal(SIGXFSZ, SIG_IGN);
    PfxClaves claves;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &cero), 0);
    const bool extraida = ExtraerClavePfx(ctx.rutaPkcs12, ctx.clavePkcs12, claves);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limite), 0);
    signal(SIGXFSZ, anterior);
    EXPECT_FALSE(extraida);
    EXPECT_EQ(claves.error, kSinTemporal);
    EXPECT_THAT(Nombres(temp), IsEmpty());
}

}  // namespace
