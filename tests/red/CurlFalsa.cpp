// Stands in for libcurl in a process of its own, for what no real server shows: prints the time limit, the protocols
// and what is given back. CURL_FALSA=nula makes the handle null, CURL_FALSA=error makes the transfer fail with 7,
// CURL_FALSA=vieja doesn't know the names of protocols and "sin protocolos" no choice of them at all. It has no
// curl_easy_strerror, and with INCOMPLETA no curl_slist_free_all either.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int g_handle = 0;
int g_lista = 0;

bool Modo(const std::string& nombre) {
    const char* modo = std::getenv("CURL_FALSA");
    return modo != nullptr && modo == nombre;
}

}  // namespace

extern "C" {

void* curl_easy_init() {
    return Modo("nula") ? nullptr : &g_handle;
}

int curl_easy_setopt(void*, int opcion, ...) {
    va_list args;
    va_start(args, opcion);
    if (opcion == 10318) std::printf("%s\n", va_arg(args, const char*));
    if (opcion == 155 || opcion == 181) std::printf("%d %ld\n", opcion, va_arg(args, long));
    va_end(args);
    const bool sin = Modo("sin protocolos");
    return (opcion == 10318 && Modo("vieja")) || ((opcion == 10318 || opcion == 181) && sin) ? 48 : 0;
}

int curl_easy_perform(void*) {
    return Modo("error") ? 7 : 0;
}

int curl_easy_getinfo(void*, int, ...) {
    return 0;
}

void curl_easy_cleanup(void* handle) {
    std::printf("cleanup%s\n", handle == &g_handle ? "" : " wrong handle");
}

void* curl_slist_append(void*, const char*) {
    return &g_lista;
}

#ifndef INCOMPLETA
void curl_slist_free_all(void* lista) {
    std::printf("free%s\n", lista == &g_lista ? "" : " wrong list");
}
#endif

}  // extern "C"
