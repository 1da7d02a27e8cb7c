#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "crypto/LxApi.h"
#include "crypto/RutaInterna.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace Lx::Api;
using testing::HasSubstr;

TEST(Servicios, RegistroQueSoloCrece) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string ruta = carpeta / "registro con ñ.log";
    EXPECT_FALSE(FileExists(ruta));
    EXPECT_TRUE(AppendLog(ruta, "uno"));
    EXPECT_TRUE(AppendLog(ruta, std::string("d\0s\n", 4)));
    EXPECT_TRUE(AppendLog(ruta, ""));
    EXPECT_EQ(Apoyo::LeerFichero(ruta), std::string("uno\nd\0s\n\n\n", 10));
    EXPECT_TRUE(FileExists(ruta));
    EXPECT_FALSE(FileExists("") || FileExists(ruta + "/"));
    EXPECT_TRUE(FileExists(carpeta.Ruta()) && FileExists("/dev/null"));
    ASSERT_EQ(mkfifo((carpeta / "tubo").c_str(), 0600), 0);
    const int vigia = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(vigia, (carpeta / "tubo").c_str(), IN_OPEN), 0);
    EXPECT_TRUE(FileExists(carpeta / "tubo"));
    char suceso[256];
    EXPECT_LT(read(vigia, suceso, sizeof suceso), 0) << "it was opened";
    close(vigia);
    EXPECT_FALSE(AppendLog(carpeta / "no/existe", "x"));
    EXPECT_FALSE(AppendLog("/dev/full", "x")) << "a disk without room";
}

TEST(Servicios, HoraLocal) {
    EXPECT_THAT(TimestampNow(), testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
    for (const size_t largo : {size_t{127}, size_t{128}})
        EXPECT_EQ(TimestampNow(std::string(largo, 'x').c_str()), std::string(largo < 128 ? largo : 0, 'x'));
    setenv("TZ", "<+23>-23", 1);
    tzset();
    EXPECT_EQ(TimestampNow("%z"), "+2300");
    unsetenv("TZ");
    tzset();
}

TEST(Servicios, CarpetaYNombreDelPrograma) {
    const Apoyo::Filas<const char*, const char*, const char*> filas = {
        {"/Applications/App/bin/prog", "/Applications/App/bin", "prog"},
        {"/prog", "/", "prog"},
        {"prog", ".", "prog"},
        {"", ".", ""},
        {"/a/", "/a", ""}};
    for (const auto& [ruta, carpeta, nombre] : filas) {
        SCOPED_TRACE(ruta);
        EXPECT_EQ(Interno::CarpetaDe(ruta), carpeta);
        EXPECT_EQ(Interno::NombreDe(ruta), nombre);
    }
    const Apoyo::CarpetaTemporal carpeta;
    const std::filesystem::path real = std::filesystem::canonical(AYUDANTE_CRYPTO);
    std::filesystem::create_symlink(real, carpeta / "enlace");
    EXPECT_EQ(Apoyo::Ejecutar({carpeta / "enlace"}).texto,
              real.string() + "\n" + real.parent_path().string() + "\n" + real.filename().string() + "\n");
}

// A server on loopback for one request that ends in a brace; it answers with `respuesta` or, when that is empty, not at
// all.
class Servidor {
  public:
    explicit Servidor(const std::string& respuesta) {
        sockaddr_in d{};
        d.sin_family = AF_INET;
        d.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t largo = sizeof d;
        auto* generica = reinterpret_cast<sockaddr*>(&d);
        if (bind(oyente_, generica, largo) != 0 || listen(oyente_, 1) != 0) ADD_FAILURE() << "no loopback port";
        getsockname(oyente_, generica, &largo);
        url_ = "http://127.0.0.1:" + std::to_string(ntohs(d.sin_port)) + "/ruta?x=1";
        hilo_ = std::thread([this, respuesta] { Atender(respuesta); });
    }
    ~Servidor() {
        (void)Cerrar();
        close(oyente_);
    }
    Servidor(const Servidor&) = delete;
    Servidor& operator=(const Servidor&) = delete;

    [[nodiscard]] const std::string& Url() const { return url_; }
    // Ends the server; what it was asked.
    std::string Cerrar() {
        shutdown(oyente_, SHUT_RDWR);
        if (hilo_.joinable()) hilo_.join();
        return peticion_;
    }

  private:
    void Atender(const std::string& respuesta) {
        const int cliente = accept(oyente_, nullptr, nullptr);
        char trozo[4096];
        while (!peticion_.ends_with('}') || respuesta.empty()) {
            const ssize_t n = recv(cliente, trozo, sizeof trozo, 0);
            if (n <= 0) break;
            peticion_.append(trozo, static_cast<size_t>(n));
        }
        (void)send(cliente, respuesta.data(), respuesta.size(), MSG_NOSIGNAL);
        if (cliente >= 0) close(cliente);
    }

    const int oyente_ = socket(AF_INET, SOCK_STREAM, 0);
    std::string url_;
    std::string peticion_;
    std::thread hilo_;
};

TEST(PostJson, MandaElTextoYDevuelveLaRespuesta) {
    const Apoyo::Filas<std::string, int, std::string> filas = {
        {"HTTP/1.1 200 OK\r\nContent-Length: 12\r\n\r\n{\"a\":\"\xC3\xB1\"}\n\n", 200, "{\"a\":\"\xC3\xB1\"}\n\n"},
        {"HTTP/1.1 500 Mal\r\nConnection: close\r\n\r\nhasta el cierre", 500, "hasta el cierre"},
    };
    const std::string json = std::string("{\"texto\":\"\0 y ", 14) + std::string(5000, 'x') + "\"}";
    for (const auto& [respuesta, status, cuerpo] : filas) {
        SCOPED_TRACE(status);
        Servidor servidor(respuesta);
        const HttpResult r = PostJson(servidor.Url(), json, 0);
        EXPECT_EQ(r.error, "");
        EXPECT_EQ(r.status, status);
        EXPECT_EQ(r.body, cuerpo);
        const std::string peticion = servidor.Cerrar();
        EXPECT_THAT(peticion, testing::StartsWith("POST /ruta?x=1 HTTP/1.1\r\n"));
        EXPECT_THAT(peticion, testing::EndsWith("\r\n\r\n" + json));
    }
}

TEST(PostJson, FallosDelTransporte) {
    EXPECT_EQ(PostJson("", "{}", 1000).error, "URL vacia.");
    Servidor mudo("");
    const HttpResult tarde = PostJson(mudo.Url(), "{}", 200);
    EXPECT_EQ(tarde.status, 0);
    EXPECT_THAT(tarde.error, HasSubstr("Timeout"));
    Servidor cortado("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nla mitad");
    const HttpResult mitad = PostJson(cortado.Url(), "{}", 2000);
    EXPECT_EQ(mitad.status, 0);
    EXPECT_EQ(mitad.body, "") << "what came before the failure is dropped";
    EXPECT_NE(mitad.error, "");
    (void)cortado.Cerrar();
    const HttpResult rechazado = PostJson(cortado.Url(), "{}", 2000);
    EXPECT_EQ(rechazado.status, 0);
    EXPECT_THAT(rechazado.error, HasSubstr("connect"));
}

// What the helper says of a post after its three lines about itself, with this folder first for its libraries.
std::string Publicar(const std::string& carpeta, const std::string& modo, const std::string& url, const char* ms) {
    const std::string texto =
        Apoyo::Exigir({"env", "LD_LIBRARY_PATH=" + carpeta, "CURL_FALSA=" + modo, AYUDANTE_CRYPTO, url, ms});
    size_t pos = 0;
    for (int i = 0; i < 3; ++i) pos = texto.find('\n', pos) + 1;
    return texto.substr(pos);
}

constexpr const char* kSinBiblioteca = "0||No se encontro libcurl (instale el paquete 'libcurl4').\n";

// Files that aren't libraries, found first under the names that the program asks for, stand for libraries that aren't
// there.
TEST(PostJson, SinBiblioteca) {
    const Apoyo::CarpetaTemporal carpeta;
    Servidor servidor("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nsi");
    Apoyo::EscribirFichero(carpeta / "libcurl.so.4", "nada");
    if (Apoyo::Ejecutar({"sh", "-c", "ldconfig -p | grep -q 'libcurl-gnutls.so.4 '"}).codigo == 0) {
        EXPECT_EQ(Publicar(carpeta.Ruta(), "", servidor.Url(), "2000"), "200|si|\n");
    }
    Apoyo::EscribirFichero(carpeta / "libcurl-gnutls.so.4", "nada");
    EXPECT_EQ(Publicar(carpeta.Ruta(), "", servidor.Url(), "2000"), kSinBiblioteca);
}

// The numbers are those of libcurl's headers: 10002 URL, 47 POST, 10015 POSTFIELDS, 60 POSTFIELDSIZE, 10023 HTTPHEADER,
// 155 TIMEOUT_MS, 20011 WRITEFUNCTION, 10001 WRITEDATA.
TEST(PostJson, LlamadasALaBiblioteca) {
    const auto orden = [](const std::string& ms) {
        return "global 3\nappend Content-Type: application/json\nappend +Accept: application/json\n10002 http://x/\n"
               "47 1\n10015 {}\n60 2\n10023 lista\n155 " +
               ms + "\n20011 ...\n10001 ...\nfree\ncleanup\n";
    };
    const struct {
        std::string cual, modo;
        const char* ms;
        std::string salida;
    } filas[] = {
        {"completa", "", "0", orden("15000") + "201||\n"},
        {"completa", "", "1", orden("1") + "201||\n"},
        {"completa", "error", "1", orden("1") + "0||libcurl error 7\n"},
        {"completa", "nula", "1", "global 3\n0||No se pudo iniciar la peticion HTTP.\n"},
        {"incompleta", "", "1", kSinBiblioteca},
    };
    for (const auto& fila : filas) {
        SCOPED_TRACE(fila.cual + fila.modo + fila.ms);
        EXPECT_EQ(Publicar(CURL_FALSAS "/" + fila.cual, fila.modo, "http://x/", fila.ms), fila.salida);
    }
}

}  // namespace
