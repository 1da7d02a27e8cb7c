#include "red/LxHttp.h"

#include <dlfcn.h>

#include <cstddef>
#include <utility>

namespace Lx::Api {
namespace {

// Numbers of libcurl's binary interface, which its soname 4 keeps fixed, so that its headers aren't needed to build.
// A long argument counts from 0, a pointer from 10000, a function from 20000; results of type long from 0x200000.
constexpr long kTodoGlobal = 3;              // CURL_GLOBAL_ALL
constexpr int kWriteData = 10000 + 1;        // CURLOPT_WRITEDATA
constexpr int kUrl = 10000 + 2;              // CURLOPT_URL
constexpr int kPostFields = 10000 + 15;      // CURLOPT_POSTFIELDS
constexpr int kHttpHeader = 10000 + 23;      // CURLOPT_HTTPHEADER
constexpr int kPost = 47;                    // CURLOPT_POST
constexpr int kPostFieldSize = 60;           // CURLOPT_POSTFIELDSIZE
constexpr int kTimeoutMs = 155;              // CURLOPT_TIMEOUT_MS
constexpr int kProtocols = 181;              // CURLOPT_PROTOCOLS, for libraries before 7.85
constexpr int kProtocolsStr = 10000 + 318;   // CURLOPT_PROTOCOLS_STR
constexpr int kWriteFunction = 20000 + 11;   // CURLOPT_WRITEFUNCTION
constexpr int kResponseCode = 0x200000 + 2;  // CURLINFO_RESPONSE_CODE

constexpr const char* kProtocolos = "http,https";
constexpr long kHttpYHttps = 1 + 2;  // CURLPROTO_HTTP | CURLPROTO_HTTPS
constexpr int kTiempoPorDefectoMs = 15000;
constexpr size_t kRespuestaMaxima = size_t{16} << 20;

constexpr const char* kBibliotecas[] = {"libcurl.so.4", "libcurl-gnutls.so.4"};

struct Curl {
    void* modulo = nullptr;
    int (*globalInit)(long) = nullptr;
    void* (*init)() = nullptr;
    int (*setopt)(void*, int, ...) = nullptr;
    int (*perform)(void*) = nullptr;
    int (*getinfo)(void*, int, ...) = nullptr;
    void (*cleanup)(void*) = nullptr;
    void* (*append)(void*, const char*) = nullptr;
    void (*freeAll)(void*) = nullptr;

    [[nodiscard]] bool Completa() const {
        return init != nullptr && setopt != nullptr && perform != nullptr && getinfo != nullptr && cleanup != nullptr &&
               append != nullptr && freeAll != nullptr;
    }
};

template <typename Funcion>
void Resolver(void* modulo, const char* nombre, Funcion& funcion) {
    funcion = reinterpret_cast<Funcion>(dlsym(modulo, nombre));
}

Curl Abrir() {
    Curl c;
    for (const char* nombre : kBibliotecas) {
        c.modulo = dlopen(nombre, RTLD_LAZY | RTLD_GLOBAL);
        if (c.modulo != nullptr) break;
    }
    if (c.modulo == nullptr) return c;
    Resolver(c.modulo, "curl_global_init", c.globalInit);
    Resolver(c.modulo, "curl_easy_init", c.init);
    Resolver(c.modulo, "curl_easy_setopt", c.setopt);
    Resolver(c.modulo, "curl_easy_perform", c.perform);
    Resolver(c.modulo, "curl_easy_getinfo", c.getinfo);
    Resolver(c.modulo, "curl_easy_cleanup", c.cleanup);
    Resolver(c.modulo, "curl_slist_append", c.append);
    Resolver(c.modulo, "curl_slist_free_all", c.freeAll);
    return c;
}

const Curl& Biblioteca() {
    static const Curl unica = Abrir();
    return unica;
}

std::string TextoDeError(int codigo) {
    using Strerror = const char* (*)(int);
    static const Strerror strerrorCurl = [] {
        Strerror f = nullptr;
        Resolver(Biblioteca().modulo, "curl_easy_strerror", f);
        return f;
    }();
    const char* texto = strerrorCurl != nullptr ? strerrorCurl(codigo) : nullptr;
    return texto != nullptr ? texto : "libcurl error " + std::to_string(codigo);
}

struct Respuesta {
    std::string& cuerpo;
    bool excesiva = false;
};

// Write callback: any result but size·count makes libcurl give up the transfer. libcurl's `size` is always 1.
size_t Acumular(char* ptr, size_t size, size_t count, void* userdata) {
    if (ptr == nullptr || userdata == nullptr) return 0;
    auto& respuesta = *static_cast<Respuesta*>(userdata);
    respuesta.excesiva = size * count > kRespuestaMaxima - respuesta.cuerpo.size();
    if (respuesta.excesiva) return 0;
    respuesta.cuerpo.append(ptr, size * count);
    return size * count;
}

// One request: its handle and its header list go together.
class Peticion {
  public:
    explicit Peticion(const Curl& curl) : curl_(curl), handle_(curl.init()) {}
    ~Peticion() {
        if (cabeceras_ != nullptr) curl_.freeAll(cabeceras_);
        if (handle_ != nullptr) curl_.cleanup(handle_);
    }
    Peticion(const Peticion&) = delete;
    Peticion& operator=(const Peticion&) = delete;

    [[nodiscard]] bool Lista() const { return handle_ != nullptr; }

    // False when the library can't be held to the two protocols.
    [[nodiscard]] bool Preparar(const std::string& url, const std::string& json, int timeoutMs, Respuesta& respuesta) {
        Cabecera("Content-Type: application/json");
        Cabecera("Accept: application/json");
        curl_.setopt(handle_, kUrl, url.c_str());
        curl_.setopt(handle_, kPost, 1L);
        curl_.setopt(handle_, kPostFields, json.c_str());
        curl_.setopt(handle_, kPostFieldSize, static_cast<long>(json.size()));
        curl_.setopt(handle_, kHttpHeader, cabeceras_);
        curl_.setopt(handle_, kTimeoutMs, static_cast<long>(timeoutMs < 1 ? kTiempoPorDefectoMs : timeoutMs));
        curl_.setopt(handle_, kWriteFunction, &Acumular);
        curl_.setopt(handle_, kWriteData, &respuesta);
        return curl_.setopt(handle_, kProtocolsStr, kProtocolos) == 0 ||
               curl_.setopt(handle_, kProtocols, kHttpYHttps) == 0;
    }

    // 0, or libcurl's error code.
    [[nodiscard]] int Enviar() { return curl_.perform(handle_); }

    [[nodiscard]] int Estado() {
        long codigo = 0;
        curl_.getinfo(handle_, kResponseCode, &codigo);
        return static_cast<int>(codigo);
    }

  private:
    // A failed append gives null and leaves the list as it was.
    void Cabecera(const char* linea) {
        void* lista = curl_.append(cabeceras_, linea);
        if (lista != nullptr) cabeceras_ = lista;
    }

    const Curl& curl_;
    void* handle_;
    void* cabeceras_ = nullptr;
};

}  // namespace

HttpResult PostJson(const std::string& url, const std::string& json, int timeoutMs) {
    HttpResult r;
    const auto fallo = [&r](std::string frase) {
        r.error = std::move(frase);
        return r;
    };
    if (url.empty()) return fallo("URL vacia.");
    const Curl& curl = Biblioteca();
    if (!curl.Completa()) return fallo("No se encontro libcurl (instale el paquete 'libcurl4').");
    if (curl.globalInit != nullptr) curl.globalInit(kTodoGlobal);
    Peticion peticion(curl);
    Respuesta respuesta{r.body};
    if (!peticion.Lista() || !peticion.Preparar(url, json, timeoutMs, respuesta))
        return fallo("No se pudo iniciar la peticion HTTP.");
    const int codigo = peticion.Enviar();
    if (codigo == 0) {
        r.status = peticion.Estado();
        return r;
    }
    r.body.clear();
    return fallo(respuesta.excesiva ? "La respuesta HTTP es demasiado grande." : TextoDeError(codigo));
}

}  // namespace Lx::Api
