// Stands in for libcurl in a process of its own: prints each call, for what no real server shows. CURL_FALSA=nula makes
// the handle null, CURL_FALSA=error makes the transfer fail with 7,
// CURL_FALSA=vieja doesn't know the names of protocols and "sin protocolos" no choice of them at all. It has no
// curl_easy_strerror, and with INCOMPLETA no curl_slist_free_all either.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int g_handle = 0;
int g_lista = 0;

bool Modo(const char* nombre) {
    const char* modo = std::getenv("CURL_FALSA");
    return modo != nullptr && modo == std::string(nombre);
}

// libcurl numbers its options by the kind of their argument.
std::string Argumento(int opcion, va_list args) {
    if (opcion < 10000) return std::to_string(va_arg(args, long));
    const void* puntero = va_arg(args, void*);
    if (opcion == 10002 || opcion == 10015 || opcion == 10318) return static_cast<const char*>(puntero);
    return puntero == &g_lista ? "lista" : "...";
}

}  // namespace

extern "C" {

int curl_global_init(long que) {
    std::printf("global %ld\n", que);
    return 0;
}

void* curl_easy_init() {
    return Modo("nula") ? nullptr : &g_handle;
}

int curl_easy_setopt(void* handle, int opcion, ...) {
    va_list args;
    va_start(args, opcion);
    std::printf("%d %s%s\n", opcion, Argumento(opcion, args).c_str(), handle == &g_handle ? "" : " wrong handle");
    va_end(args);
    if (opcion == 10318) return Modo("vieja") || Modo("sin protocolos") ? 48 : 0;
    return opcion == 181 && Modo("sin protocolos") ? 48 : 0;
}

int curl_easy_perform(void*) {
    return Modo("error") ? 7 : 0;
}

int curl_easy_getinfo(void*, int que, ...) {
    va_list args;
    va_start(args, que);
    *va_arg(args, long*) = que == 0x200002 ? 201 : -1;
    va_end(args);
    return 0;
}

void curl_easy_cleanup(void* handle) {
    std::printf("cleanup%s\n", handle == &g_handle ? "" : " wrong handle");
}

void* curl_slist_append(void* lista, const char* texto) {
    std::printf("append %s%s\n", lista == nullptr ? "" : "+", texto);
    return &g_lista;
}

#ifndef INCOMPLETA
void curl_slist_free_all(void* lista) {
    std::printf("free%s\n", lista == &g_lista ? "" : " wrong list");
}
#endif

}  // extern "C"
