#include "tests/apoyo/Apoyo.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include "crypto/LxApi.h"

extern char** environ;

namespace Apoyo {

namespace {

namespace fs = std::filesystem;

struct Cierra {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using Anonimo = std::unique_ptr<std::FILE, Cierra>;

std::string Contenido(std::FILE* fichero) {
    std::rewind(fichero);
    std::string datos;
    char trozo[4096];
    for (size_t n; (n = std::fread(trozo, 1, sizeof trozo, fichero)) > 0;) datos.append(trozo, n);
    return datos;
}

void CrearConfianza(const Identidad& identidad) {
    if (fs::exists(identidad.nss)) return;
    fs::create_directory(identidad.nss);
    Exigir({"certutil", "-N", "-d", "sql:" + identidad.nss, "--empty-password"});
    Exigir({"certutil", "-A", "-d", "sql:" + identidad.nss, "-n", "raiz", "-t", "CT,C,C", "-i", identidad.ca});
}

}  // namespace

CarpetaTemporal::CarpetaTemporal() : ruta_((fs::temp_directory_path() / "prueba-XXXXXX").string()) {
    if (mkdtemp(ruta_.data()) == nullptr) ADD_FAILURE() << "mkdtemp " << ruta_;
}

CarpetaTemporal::~CarpetaTemporal() {
    std::error_code error;
    fs::remove_all(ruta_, error);
}

std::string LeerFichero(const std::string& ruta) {
    const std::ifstream f(ruta, std::ios::binary);
    std::ostringstream texto;
    texto << f.rdbuf();  // which doesn't throw when a file of /proc ends with its process
    return texto.str();
}

void EscribirFichero(const std::string& ruta, std::string_view datos) {
    std::ofstream f(ruta, std::ios::binary);
    f.write(datos.data(), static_cast<std::streamsize>(datos.size()));
    if (!f.flush()) ADD_FAILURE() << "no se pudo escribir " << ruta;
}

Salida Ejecutar(const std::vector<std::string>& argumentos, std::string_view entrada) {
    // Files without a name in place of pipes: no program can block on a full one.
    const Anonimo dentro(std::tmpfile()), fuera(std::tmpfile()), error(std::tmpfile());
    if (!entrada.empty()) std::fwrite(entrada.data(), 1, entrada.size(), dentro.get());
    std::rewind(dentro.get());
    std::vector<char*> argv;
    for (const auto& a : argumentos) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t acciones;
    posix_spawn_file_actions_init(&acciones);
    posix_spawn_file_actions_adddup2(&acciones, fileno(dentro.get()), 0);
    posix_spawn_file_actions_adddup2(&acciones, fileno(fuera.get()), 1);
    posix_spawn_file_actions_adddup2(&acciones, fileno(error.get()), 2);
    pid_t pid = 0;
    const int fallo = posix_spawnp(&pid, argv[0], &acciones, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&acciones);
    if (fallo != 0) return {127, {}, "no se pudo ejecutar " + argumentos[0]};
    int estado = 0;
    while (waitpid(pid, &estado, 0) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(estado) ? WEXITSTATUS(estado) : 128 + WTERMSIG(estado), Contenido(fuera.get()),
            Contenido(error.get())};
}

std::string Exigir(const std::vector<std::string>& argumentos, std::string_view entrada) {
    const Salida s = Ejecutar(argumentos, entrada);
    if (s.codigo != 0) ADD_FAILURE() << testing::PrintToString(argumentos) << "\n" << s.texto << s.errores;
    return s.texto;
}

int Aparte(const std::function<bool()>& hacer) {
    const pid_t hijo = fork();
    if (hijo == 0) _exit(hacer() ? 0 : 1);
    int estado = 0;
    EXPECT_EQ(waitpid(hijo, &estado, 0), hijo);
    return WIFEXITED(estado) ? WEXITSTATUS(estado) : 128 + WTERMSIG(estado);
}

Identidad CrearIdentidad(const std::string& carpeta, const OpcionesIdentidad& opciones) {
    const auto en = [&carpeta](const char* nombre) { return carpeta + "/" + nombre; };
    Identidad id{en("key.pem"), en("cert.pem"),    en("ca.pem"), en("identidad.p12"),
                 en("nss"),     opciones.password, {},           {}};
    const std::string config = carpeta + "/openssl.cnf", ca = carpeta + "/ca.key", password = carpeta + "/password";
    EscribirFichero(config, "[req]\nprompt=no\ndistinguished_name=n\n[n]\nCN=" + opciones.cn +
                                "\n[raiz]\nsubjectKeyIdentifier=hash\nbasicConstraints=critical,CA:TRUE\n"
                                "keyUsage=critical,keyCertSign,cRLSign\n[hoja]\nsubjectKeyIdentifier=hash\n"
                                "authorityKeyIdentifier=keyid\nbasicConstraints=CA:FALSE\nkeyUsage=" +
                                opciones.uso + "\n");
    EscribirFichero(password, opciones.password + "\n");
    const auto req = [&config](std::vector<std::string> mas) {
        mas.insert(mas.begin(), {"openssl", "req", "-x509", "-utf8", "-nodes", "-days", "30", "-config", config});
        Exigir(mas);
    };
    req({"-newkey", "rsa:2048", "-extensions", "raiz", "-subj", "/C=PE/CN=Raíz de prueba", "-keyout", ca, "-out",
         id.ca});
    const std::string curva = opciones.clave == "ec" ? "ec_paramgen_curve:P-256" : "rsa_keygen_pubexp:65537";
    req({"-newkey", opciones.clave, "-pkeyopt", curva, "-extensions", "hoja", "-CA", id.ca, "-CAkey", ca, "-keyout",
         id.clave, "-out", id.cert});
    Exigir({"openssl", "pkcs12", "-export", "-inkey", id.clave, "-in", id.cert, "-certfile", id.ca, "-name", "prueba",
            "-passout", "file:" + password, "-out", id.p12});
    const std::string der = Exigir({"openssl", "x509", "-in", id.cert, "-outform", "DER"});
    if (!Lx::X509::Parsear({der.begin(), der.end()}, id.certificado)) ADD_FAILURE() << "certificado ilegible";
    id.firmar = [clave = id.clave](const std::vector<unsigned char>& datos, std::string& nota) {
        const std::string_view vista(reinterpret_cast<const char*>(datos.data()), datos.size());
        const Salida s = Ejecutar({"openssl", "dgst", "-sha256", "-sign", clave}, vista);
        nota = s.errores;
        return std::vector<unsigned char>(s.texto.begin(), s.texto.end());
    };
    return id;
}

const Identidad& IdentidadComun() {
    static const CarpetaTemporal carpeta;
    static const Identidad identidad = CrearIdentidad(carpeta.Ruta());
    return identidad;
}

std::string PdfDe(const std::vector<std::string>& objetos, const std::string& trailer) {
    std::string pdf = "%PDF-1.4\n", tabla;
    int num = 0;
    for (const std::string& objeto : objetos) {
        char linea[32];
        snprintf(linea, sizeof linea, "%010zu 00000 n \n", pdf.size());
        tabla += linea;
        pdf += std::to_string(++num) + " 0 obj\n" + objeto + "\nendobj\n";
    }
    const std::string inicio = std::to_string(pdf.size()), total = std::to_string(num + 1);
    return pdf + "xref\n0 " + total + "\n0000000000 65535 f \n" + tabla + "trailer\n<< /Size " + total +
           " /Root 1 0 R" + trailer + " >>\nstartxref\n" + inicio + "\n%%EOF\n";
}

size_t Cuenta(std::string_view texto, std::string_view parte) {
    size_t n = 0;
    for (size_t p = texto.find(parte); p != std::string_view::npos; p = texto.find(parte, p + 1)) ++n;
    return n;
}

std::vector<FirmaPdf> FirmasDe(const std::string& pdf) {
    std::vector<FirmaPdf> firmas;
    constexpr std::string_view kMarca = "/ByteRange [";
    for (size_t p = pdf.find(kMarca); p != std::string::npos; p = pdf.find(kMarca, p + 1)) {
        size_t a = 0, b = 0, c = 0, d = 0;
        if (std::sscanf(pdf.c_str() + p + kMarca.size(), "%zu %zu %zu %zu", &a, &b, &c, &d) != 4) continue;
        if (a != 0 || b > c || c > pdf.size() || d > pdf.size() - c || c - b < 2) continue;
        const std::vector<unsigned char> der = Lx::Api::HexToBin(pdf.substr(b + 1, c - b - 2));
        firmas.push_back({b, c, c + d, {der.begin(), der.end()}, pdf.substr(0, b) + pdf.substr(c, d)});
    }
    return firmas;
}

Salida VerificarCms(const std::string& cms, const std::string& contenido, const Identidad& identidad) {
    const CarpetaTemporal carpeta;
    EscribirFichero(carpeta / "contenido", contenido);
    return Ejecutar({"openssl", "cms", "-verify", "-binary", "-cades", "-inform", "DER", "-content",
                     carpeta / "contenido", "-CAfile", identidad.ca, "-purpose", "any", "-out", "/dev/null"},
                    cms);
}

Veredicto Juzgar(const std::string& ruta, const Identidad& identidad) {
    const std::vector<FirmaPdf> firmas = FirmasDe(LeerFichero(ruta));
    Veredicto v;
    v.openssl = !firmas.empty();
    for (const FirmaPdf& firma : firmas) {
        const Salida cms = VerificarCms(firma.cms, firma.contenido, identidad);
        v.openssl = v.openssl && cms.codigo == 0;
        v.texto += cms.errores;
    }
    CrearConfianza(identidad);
    const Salida pdfsig = Ejecutar({"pdfsig", "-nssdir", "sql:" + identidad.nss, ruta});
    v.texto += pdfsig.texto + pdfsig.errores;
    // pdfsig goes by widgets, of which a signature may have several, and judges a certificate where it comes first.
    const size_t validas = Cuenta(pdfsig.texto, "Signature Validation: Signature is Valid.");
    v.pdfsig = pdfsig.codigo == 0 && !firmas.empty() && validas >= firmas.size() &&
               validas == Cuenta(pdfsig.texto, "Signature Validation:") &&
               Cuenta(pdfsig.texto, "Certificate Validation: Certificate is Trusted.") >= 1;
    const Salida qpdf = Ejecutar({"qpdf", "--check", ruta});
    v.texto += qpdf.texto + qpdf.errores;
    v.qpdf = qpdf.codigo == 0;
    return v;
}

testing::AssertionResult PdfValido(const std::string& ruta, const Identidad& identidad, size_t firmas) {
    const std::string pdf = LeerFichero(ruta);
    const std::vector<FirmaPdf> halladas = FirmasDe(pdf);
    if (halladas.size() != firmas) return testing::AssertionFailure() << halladas.size() << " firmas en " << ruta;
    if (firmas > 0 && halladas.back().fin != pdf.size()) return testing::AssertionFailure() << "cubre solo una parte";
    const Veredicto v = Juzgar(ruta, identidad);
    if (v.pdfsig && v.openssl && v.qpdf) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "pdfsig " << v.pdfsig << " openssl " << v.openssl << " qpdf " << v.qpdf
                                       << "\n"
                                       << v.texto;
}

}  // namespace Apoyo
