// The post of JSON through the real libcurl, and against one that only records.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "red/LxHttp.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace Lx::Api;
using testing::HasSubstr;

// A server on loopback for one request that ends in a brace; without `respuesta` it stays mute.
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
    const std::string bien = "HTTP/1.1 200 OK\r\nConnection: close\r\n", lleno(size_t{16} << 20, 'x');
    const Apoyo::Filas<std::string, int, std::string, std::string> filas = {
        {bien + "Content-Length: 12\r\n\r\n{\"a\":\"\xC3\xB1\"}\n\n", 200, "{\"a\":\"\xC3\xB1\"}\n\n", ""},
        {"HTTP/1.1 500 Mal\r\nConnection: close\r\n\r\nhasta el cierre", 500, "hasta el cierre", ""},
        {bien + "\r\n" + lleno, 200, lleno, ""},
        {bien + "\r\n" + lleno + "x", 0, "", "La respuesta HTTP es demasiado grande."},
        {bien + "Content-Length: 100\r\n\r\nla mitad", 0, "", "partial"},
        {"", 0, "", "Timeout"},
    };
    const std::string json = std::string("{\"texto\":\"\0 y ", 14) + std::string(5000, 'x') + "\"}";
    for (const auto& [respuesta, status, cuerpo, error] : filas) {
        SCOPED_TRACE(respuesta.substr(0, 60));
        Servidor servidor(respuesta);
        const HttpResult r = PostJson(servidor.Url(), json, respuesta.empty() ? 200 : 10000);
        EXPECT_TRUE(error.empty() ? r.error.empty() : r.error.find(error) != std::string::npos) << r.error;
        EXPECT_EQ(r.status, status);
        EXPECT_TRUE(r.body == cuerpo) << r.body.size();
        const std::string peticion = servidor.Cerrar();
        EXPECT_THAT(peticion, testing::StartsWith("POST /ruta?x=1 HTTP/1.1\r\n"));
        for (const char* cabecera : {"Accept", "Content-Type"})
            EXPECT_THAT(peticion, HasSubstr("\r\n" + std::string(cabecera) + ": application/json\r\n"));
        EXPECT_THAT(peticion, testing::EndsWith("\r\n\r\n" + json));
    }
    EXPECT_EQ(PostJson("", "{}", 1000).error, "URL vacia.");
}

// Only what is meant for the web is asked, whatever else the library knows.
TEST(PostJson, SoloHttp) {
    const Apoyo::CarpetaTemporal carpeta;
    Apoyo::EscribirFichero(carpeta / "secreto", "secreto");
    for (const std::string& url : {"FILE://" + (carpeta / "secreto"), std::string("ftp://127.0.0.1:9/x")}) {
        const HttpResult r = PostJson(url, "{}", 2000);
        EXPECT_THAT(r.error, HasSubstr("rotocol")) << url;
        EXPECT_EQ(r.body, "");
    }
    Servidor otro("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nsi");
    Servidor desvia("HTTP/1.1 302 Found\r\nLocation: " + otro.Url() + "\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(PostJson(desvia.Url(), "{}", 2000).status, 302) << "and it isn't followed";
}

// What the helper says of a post, with this folder first for its libraries.
std::string Publicar(const std::string& carpeta, const std::string& url) {
    return Apoyo::Exigir({"env", "LD_LIBRARY_PATH=" + carpeta, AYUDANTE_RED, url, "2000"});
}

// Files that aren't libraries, found first under the names asked for, stand for libraries that aren't there.
TEST(PostJson, SinBiblioteca) {
    const Apoyo::CarpetaTemporal carpeta;
    Servidor servidor("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nsi");
    Apoyo::EscribirFichero(carpeta / "libcurl.so.4", "nada");
    if (Apoyo::Ejecutar({"sh", "-c", "ldconfig -p | grep -q 'libcurl-gnutls.so.4 '"}).codigo == 0) {
        EXPECT_EQ(Publicar(carpeta.Ruta(), servidor.Url()), "200|si|\n");
    }
    Apoyo::EscribirFichero(carpeta / "libcurl-gnutls.so.4", "nada");
    EXPECT_EQ(Publicar(carpeta.Ruta(), servidor.Url()), "0||No se encontro libcurl (instale el paquete 'libcurl4').\n");
}

}  // namespace
