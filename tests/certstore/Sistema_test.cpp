// The system store over real databases and tokens, made by their own tools in a home folder of the test's own and asked
// in a process of its own.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <sstream>

#include "tests/apoyo/Apoyo.h"
#include "tests/apoyo/tarjeta/ServicioPcsc.h"

namespace fs = std::filesystem;
using Apoyo::EscribirFichero;
using Apoyo::PdfValido;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* kAna = "Ana Núñez Peña";
constexpr const char* kLibre = "2 certificado(s)\nNSS · Ana Núñez Peña con clave\nNSS · Raíz de prueba\n";
constexpr const char* kVacio = "el almacén NSS no tiene certificados.\n";

// For all scripts. $CASA is the home folder; they run in the folder above it.
constexpr const char* kFunciones = R"sh(
persona() { # NAME KEY...
    n=$1; shift
    openssl req -x509 -newkey "$@" -nodes -subj "/CN=$n" -addext basicConstraints=critical,CA:FALSE \
        -keyout "$n.key" -out "$n.pem"
    openssl pkcs12 -export -inkey "$n.key" -in "$n.pem" -name "$n" -passout pass:x -out "$n.p12"
}
base() { # FOLDER PASSWORD-OPTIONS...: a database with Ana's key and her issuer's certificate
    d=$1; shift
    mkdir -p "$d"
    if [ $# -eq 0 ]; then certutil -N -d "sql:$d" --empty-password; else certutil -N -d "sql:$d" -f "$2"; fi
    pk12util -i ana/identidad.p12 -d "sql:$d" -w ana/password "$@"
}
anadir() { certutil -A -d "sql:$1" -n "$2" -t ,, -i "$2.pem"; } # FOLDER NAME
ficha() { # a token, known to p11-kit
    mkdir -p "$CASA/fichas"
    printf 'directories.tokendir = %s\nlog.level = ERROR\n' "$CASA/fichas" >"$SOFTHSM2_CONF"
    softhsm2-util --init-token --free --label Ficha --pin 1234 --so-pin 56789012
    echo "module: $DESVIADO" >"$CASA/.config/pkcs11/modules/ficha.module"
}
guardar() { # TYPE FILE OPTIONS...: a certificate or private key for the token
    t=$1 f=$2; shift 2
    openssl "$([ "$t" = cert ] && echo x509 || echo rsa)" -in "$f" -outform DER -out "$CASA/objeto"
    pkcs11-tool --module "$SOFTHSM" --token-label Ficha --login --pin 1234 --write-object "$CASA/objeto" --type "$t" "$@"
}
)sh";

class Sistema : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        carpeta = new Apoyo::CarpetaTemporal;
        comun = carpeta->Ruta();
        fs::create_directory(comun / "ana");
        ana = Apoyo::CrearIdentidad(comun / "ana");
        EscribirFichero(comun / "maestra", "maestra\n");
        Guion("persona Berta rsa:2048; persona Eva ec -pkeyopt ec_paramgen_curve:P-256; " DOCUMENTO
              " >doc.pdf\n"
              "base libre; base cerrada -k maestra");
    }
    static void TearDownTestSuite() { delete carpeta; }
    void SetUp() override {
        casa = comun / testing::UnitTest::GetInstance()->current_test_info()->name();
        fs::create_directories(casa / "temp");
        fs::create_directories(casa / ".config/pkcs11/modules");
        EscribirFichero(casa / ".config/pkcs11/pkcs11.conf", "user-config: only\n");  // not the machine's own modules
    }
    void TearDown() override { EXPECT_TRUE(fs::is_empty(casa / "temp")); }

    static std::vector<std::string> Orden(const std::vector<std::string>& orden,
                                          const std::vector<std::string>& variables = {}) {
        std::vector<std::string> todo = {
            "env", "-C", comun, "-u", "XDG_DATA_HOME", "-u", "XDG_CONFIG_HOME", "-u", "XDG_RUNTIME_DIR"};
        for (const char* v : {"HOME=", "CASA="}) todo.push_back(v + casa.string());
        if (std::getenv("PCSCLITE_CSOCK_NAME") == nullptr) todo.push_back("PCSCLITE_CSOCK_NAME=/nada");
        todo.insert(todo.end(), {"TEMP=" + (casa / "temp").string(), "SOFTHSM2_CONF=" + (casa / "soft.conf").string(),
                                 "SOFTHSM=" SOFTHSM, "DESVIADO=" DESVIADO});
        todo.insert(todo.end(), variables.begin(), variables.end());
        todo.insert(todo.end(), orden.begin(), orden.end());
        return todo;
    }
    static void Guion(const std::string& guion) {
        const Apoyo::Salida s = Apoyo::Ejecutar(Orden({"sh", "-euc", kFunciones + guion}));
        ASSERT_EQ(s.codigo, 0) << guion << "\n" << s.texto << s.errores;
    }
    static std::string Ayudante(std::vector<std::string> args, const std::string& entrada = "\n",
                                const std::vector<std::string>& variables = {}) {
        args.insert(args.begin(), AYUDANTE_SISTEMA);
        const Apoyo::Salida s = Apoyo::Ejecutar(Orden(args, variables), entrada);
        EXPECT_EQ(s.codigo, 0);
        EXPECT_EQ(s.errores, "");
        return s.texto;
    }
    static std::string Firmar(const std::string& nombre, const std::string& entrada = "\n",
                              const std::string& salida = "s.pdf") {
        return Ayudante({"firmar", nombre, "doc.pdf", casa / salida}, entrada);
    }
    static std::vector<std::string> Listar() {
        std::vector<std::string> lineas;
        std::istringstream texto(Ayudante({"listar"}));
        for (std::string linea; std::getline(texto, linea);) lineas.push_back(linea);
        return lineas;
    }
    static void Copiar(const std::string& de, const fs::path& a) {
        fs::create_directories(a.parent_path());
        fs::copy(comun / de, a);
    }
    // A browser that has the folder as its profile.
    static void Perfil(const std::string& ruta) {
        fs::create_directories(casa / ".thunderbird");
        EscribirFichero(casa / ".thunderbird/profiles.ini", "[Profile0]\nPath=" + ruta + "\n");
    }

    static inline Apoyo::CarpetaTemporal* carpeta;
    static inline Apoyo::Identidad ana;
    static inline fs::path comun;  // what all tests share and none changes
    static inline fs::path casa;   // each test's own
};

// Every folder, and every file with the digest of its bytes.
std::string Foto(const std::string& carpeta) {
    return Apoyo::Exigir({"sh", "-c", "{ find $0 -type d; find $0 -type f -exec sha256sum {} +; } | sort", carpeta});
}

TEST_F(Sistema, TodoEnUnaLista) {
    Copiar("libre", casa / ".pki/nssdb");
    Copiar("cerrada", casa / ".local/share/pki/nssdb");  // the same two certificates
    Guion(R"(d=$CASA/.pki/nssdb
anadir "$d" Berta; pk12util -i Eva.p12 -d "sql:$d" -W x; head -c 64 /dev/urandom >"$CASA/ruido"
certutil -S -d "sql:$d" -n vieja -s CN=Vieja -x -t ,, -w -12 -v 1 -m 7 -z "$CASA/ruido"
ficha; guardar cert Berta.pem --id 01)");
    const std::string antes = Foto(casa);
    const std::vector<std::string> lineas = Listar();
    // Eva's key isn't RSA. Berta's copy on the token is the one that may have a key.
    EXPECT_THAT(lineas, UnorderedElementsAre("4 certificado(s)", "NSS · Ana Núñez Peña con clave",
                                             "NSS · Raíz de prueba", "NSS · Berta con clave", "NSS · Vieja con clave"));
    EXPECT_EQ(lineas.back(), "NSS · Vieja con clave") << "expired ones come last";
    EXPECT_EQ(Foto(casa), antes) << "nothing is written";
}

TEST_F(Sistema, DondeSeBusca) {
    const fs::path aparte = casa / "otro sitio/it's a \\ <per[fil]> ñ";
    Copiar("libre", aparte);
    const std::string relativo = "[Install1]\nDefault=b\n[Profile0]\r\nIsRelative=1\r\nPath=b\r\n";
    const std::string absoluto = "[Profile1]\nPath=" + aparte.string() + "\nIsRelative=0\n";
    const struct {
        fs::path base;    // becomes a database, unless empty
        std::string ini;  // profiles.ini beside it, unless empty
        std::string variable = "A=B";
        std::string espero = kLibre;
    } kFilas[] = {
        {".pki/nssdb", ""},
        {"xd/pki/nssdb", "", "XDG_DATA_HOME=" + (casa / "xd").string()},
        {".local/share/pki/nssdb", "", "XDG_DATA_HOME=xd"},
        {".pki/nssdb", "", "HOME=", kVacio},
        {"snap/chromium/current/.pki/nssdb", ""},
        {".mozilla/firefox/b", relativo},
        {".config/mozilla/firefox/b", relativo},
        {"snap/firefox/common/.mozilla/firefox/b", relativo},
        {".var/app/org.mozilla.firefox/.mozilla/firefox/b", relativo},
        {".thunderbird/c", "[Profile0]\nPath=no hay\nIsRelative=1\n[Profile1]\nPath=\n" + absoluto},
    };
    for (const auto& fila : kFilas) {
        SCOPED_TRACE(fila.base.string() + "|" + fila.variable + "|" + fila.ini);
        for (const char* raiz : {".pki", ".local", "xd", "snap", ".mozilla", ".var", ".thunderbird", ".config/mozilla"})
            fs::remove_all(casa / raiz);
        Copiar("libre", casa / fila.base);
        if (!fila.ini.empty()) EscribirFichero((casa / fila.base).parent_path() / "profiles.ini", fila.ini);
        EXPECT_EQ(Ayudante({"listar"}, "\n", {fila.variable}), fila.espero);
    }
}

// Without a password, what can be seen of a token must do.
TEST_F(Sistema, ConClaveSinPreguntar) {
    Copiar("cerrada", casa / ".pki/nssdb");
    Guion(R"(anadir "$CASA/.pki/nssdb" Berta)");
    EXPECT_THAT(Listar(), UnorderedElementsAre("3 certificado(s)", "NSS · Ana Núñez Peña con clave",
                                               "NSS · Raíz de prueba", "NSS · Berta"));
    EXPECT_EQ(Firmar("Berta", "\nmaestra\n"), "SinClave: no hay clave privada en el almacén NSS para Berta.\n");
    fs::remove_all(casa / ".pki");
    Guion(
        "ficha; guardar cert ana/ca.pem --id 01; guardar cert Berta.pem --id 02; guardar cert ana/cert.pem\n"
        "guardar privkey ana/key.pem --id 03");
    EXPECT_THAT(Listar(), UnorderedElementsAre("3 certificado(s)", "NSS · Raíz de prueba", "NSS · Berta con clave",
                                               "NSS · Ana Núñez Peña"));
}

TEST_F(Sistema, ElMismoDocumentoConCadaAlmacen) {
    const std::string p12 = "openssl pkcs12 -export -inkey ana/key.pem -in ana/cert.pem -passout file:ana/password ";
    const std::string ficha = "; guardar cert ana/cert.pem --id 01; guardar privkey ana/key.pem --id ";
    const std::string una = "pregunta Ficha 1\n", firmado = "firmado\n";
    const struct {
        std::string guion;
        std::string espero;
        const char* desvio = "";
    } kFilas[] = {
        {p12 + "-legacy -certpbe PBE-SHA1-RC2-40 -keypbe PBE-SHA1-RC2-40 -out $CASA/a.p12", firmado},
        {"mkdir $CASA/.pki; cp -r libre $CASA/.pki/nssdb", firmado},
        {"mkdir $CASA/.pki; cp -r cerrada $CASA/.pki/nssdb",
         "pregunta " + (casa / ".pki/nssdb").string() + " 1\n" + firmado},
        {"ficha" + ficha + "0A", una + firmado},  // the key is found by its modulus
        {"ficha" + ficha + "01", una + firmado, "sin resumen"},
        {"ficha" + ficha + "01 --always-auth", una + una + firmado},
        {"ficha" + ficha + "01", firmado, "teclado"},
        {"ficha" + ficha + "01", "pregunta Ficha 1 ultimo\n" + firmado, "ultimo"},
    };
    for (const auto& fila : kFilas) {
        SCOPED_TRACE(fila.guion + " " + fila.desvio);
        for (const char* resto : {".pki", ".mozilla", "fichas", "s.pdf", "a.p12"}) fs::remove_all(casa / resto);
        Guion(fila.guion);
        std::vector<std::string> args = {"firmar", kAna, "doc.pdf", casa / "s.pdf"};
        if (fs::exists(casa / "a.p12")) args.insert(args.begin(), {"--p12", casa / "a.p12"});
        const std::string claves = fs::exists(casa / "fichas") ? "\n1234\n1234\n" : ana.password + "\nmaestra\n";
        EXPECT_EQ(Ayudante(args, claves, {"PKCS11_DESVIO=" + std::string(fila.desvio)}), fila.espero);
        EXPECT_TRUE(PdfValido(casa / "s.pdf", ana));
    }
}

TEST_F(Sistema, ElMismoDocumentoConLaTarjeta) {
    Copiar("cerrada", casa / ".pki/nssdb");
    Apoyo::RegistrarClave("firma", {ana.certificado.der, ana.clave});
    const Apoyo::CServicioPcsc servicio({"Lector Chip Contact"});
    ASSERT_EQ(servicio.Error(), "");
    const Apoyo::CInsercion tarjeta(servicio.Puerto(0), Apoyo::EscenarioDe(2, false));
    ASSERT_TRUE(tarjeta.Esperar());
    EXPECT_EQ(Firmar(kAna, "123456\n"), "firmado\n") << "its own PIN, and no question for the store's password";
    EXPECT_TRUE(PdfValido(casa / "s.pdf", ana));
}

TEST_F(Sistema, Contrasenas) {
    Copiar("cerrada", casa / ".thunderbird/p");
    Perfil("p");
    const std::string mala = "contraseña incorrecta", cancelada = "operación cancelada por el usuario.";
    const std::string antiguo =
        mala +
        ", o el NSS del sistema es más antiguo que el navegador que escribió el perfil: exporta el certificado desde "
        "el navegador como PKCS#12 y firma con ese fichero.";
    const struct {
        const char* respuestas;
        const char* version;
        int preguntas;
        std::string motivo = "";
    } kFilas[] = {
        {"mala\npeor\nmaestra\n", "", 3},
        {"1\n2\n3\nmaestra\n", "", 3, mala + "."},
        {"cancelar\nmala\n", "", 1, cancelada},
        {"1\n2\n3\n", "[Compatibility]\r\nLastVersion=146.0_20/20\r\n", 3, antiguo},
    };
    for (const auto& fila : kFilas) {
        SCOPED_TRACE(std::string(fila.respuestas) + fila.version);
        EscribirFichero(casa / ".thunderbird/p/compatibility.ini", fila.version);
        std::string espero;
        for (int i = 1; i <= fila.preguntas; ++i)
            espero += "pregunta " + (casa / ".thunderbird/p").string() + " " + std::to_string(i) + "\n";
        const char* motivo = fila.motivo == cancelada ? "Cancelado" : "ClaveDeAlmacen";
        espero += fila.motivo.empty() ? "firmado" : motivo + (": el almacén NSS rechazo firmar: " + fila.motivo);
        EXPECT_EQ(Firmar(kAna, std::string("\n") + fila.respuestas), espero + "\n");
    }
    Guion("ficha; guardar cert ana/cert.pem --id 01; guardar privkey ana/key.pem --id 01");
    fs::remove_all(casa / ".thunderbird");
    EXPECT_THAT(Firmar(kAna, "\n1\n22222\n1234\n"), HasSubstr("Ficha 3\nfirmado")) << "too short counts as wrong";
}

TEST_F(Sistema, BasesRotas) {
    const fs::path base = casa / ".pki/nssdb";
    const std::string cert9 = base / "cert9.db", key4 = base / "key4.db", ruido(30000, '\x5A');
    const std::string noDejo = "el almacén NSS no dejo listar los certificados (codigo ";
    const std::string certificados = noDejo + "3461563217).\nSinAlmacen";  // 0xCE534351, softokn's CKR_CERTDB_FAILED
    const std::string claves = noDejo + "3461563218).\nSinAlmacen";        // 0xCE534352, CKR_KEYDB_FAILED
    const std::string roto = "LD_LIBRARY_PATH=" + casa.string();
    const struct {
        const char* nombre;
        std::function<void()> romper;
        std::string espero;
        std::string variable = "A=B";
    } kFilas[] = {
        {"basura", [&] { EscribirFichero(cert9, ruido); }, certificados},
        {"claves basura", [&] { EscribirFichero(key4, ruido); }, claves},
        {"sin softokn", [&] { EscribirFichero(casa / "libsoftokn3.so", "no"); },
         "no se pudo preparar la consulta al almacén NSS.\nSinAlmacen", roto},
        {"sin p11-kit", [&] { EscribirFichero(casa / "libp11-kit.so.0", "no"), fs::remove_all(base); }, kVacio, roto},
    };
    for (const auto& fila : kFilas) {
        SCOPED_TRACE(fila.nombre);
        fs::remove_all(base);
        fs::remove_all(casa / ".local");
        Copiar("libre", base);
        fila.romper();
        EXPECT_EQ(Ayudante({"listar"}, "\n", {fila.variable}), fila.espero);
        Copiar("libre", casa / ".local/share/pki/nssdb");
        EXPECT_EQ(Ayudante({"listar"}), kLibre) << "the other database is there";
    }
}

// One of the readers' modules, one that only holds trust, one that is broken and one that isn't there.
TEST_F(Sistema, ModulosQueNoSeMiran) {
    Guion("ficha; guardar cert ana/cert.pem --id 01");
    EXPECT_THAT(Ayudante({"listar"}), HasSubstr("1 certificado(s)\n"));
    Guion(R"(cd "$CASA/.config/pkcs11/modules"; mv ficha.module opensc-otro.module
printf 'module: %s\ntrust-policy: yes\n' "$SOFTHSM" >confianza.module
echo "module: $CASA/falta.so" >falta.module; echo "module: $CASA/soft.conf" >roto.module)");
    EXPECT_EQ(Ayudante({"listar"}), kVacio);
}

TEST_F(Sistema, ClavesQueNoEstanONoSon) {
    Guion("ficha; guardar cert Berta.pem --id 01; guardar privkey ana/key.pem --id 01");
    EXPECT_EQ(Firmar("Berta", "\n1234\n"),
              "pregunta Ficha 1\nClaveAjena: La clave que firmo no corresponde al certificado elegido (Berta).\n");
    EXPECT_THAT(Ayudante({"firmar", "Berta", "doc.pdf", casa / "s.pdf"}, "\n1234\n", {"PKCS11_DESVIO=no firma"}),
                HasSubstr("AlmacenNoFirma: el almacén NSS rechazo firmar: falló el dispositivo o la base de claves"));
    EXPECT_EQ(Ayudante({"--antes", "rm -r \"$CASA\"/fichas/*", "firmar", "Berta", "doc.pdf", casa / "s.pdf"}),
              "SinClave: no hay clave privada en el almacén NSS para Berta.\n");
}

// Whoever else has softokn going in this process keeps his session, and our databases are read all the same.
TEST_F(Sistema, SoftoknYaIniciado) {
    const std::string rara = "it's a \\ <per[fil]> ñ", suya = casa / "suya";
    Copiar("libre", suya);
    Copiar("libre", casa / ".pki/nssdb");
    Copiar("cerrada", casa / ".thunderbird" / rara);
    Perfil(rara);
    EXPECT_EQ(Ayudante({"--softokn", suya, "listar"}), kLibre + std::string("otro: sigue\n"));
    fs::remove_all(casa / ".pki");
    EXPECT_EQ(Ayudante({"--softokn", suya, "firmar", kAna, "doc.pdf", casa / "s.pdf"}, "\nmaestra\n"),
              "pregunta " + (casa / ".thunderbird" / rara).string() + " 1\nfirmado\notro: sigue\n");
    EXPECT_TRUE(PdfValido(casa / "s.pdf", ana));
}

TEST_F(Sistema, ALaVezQueOtros) {
    Copiar("libre", casa / ".pki/nssdb");
    EXPECT_EQ(Ayudante({"--cancelado", "1", "listar"}), "operación cancelada por el usuario.\nCancelado");
    std::vector<std::future<std::string>> procesos;
    for (const char* salida : {"a.pdf", "b.pdf", "c.pdf", "d.pdf"})
        procesos.push_back(std::async(std::launch::async, [salida] { return Firmar(kAna, "\n", salida); }));
    for (auto& proceso : procesos) EXPECT_EQ(proceso.get(), "firmado\n");
}

}  // namespace
