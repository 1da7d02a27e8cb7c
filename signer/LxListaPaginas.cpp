#include "signer/LxListaPaginas.h"

#include <algorithm>

#include "signer/PdfSello.h"

namespace LxPdfSigner {

namespace {

using Defecto = ListaRevisada::Defecto;

constexpr size_t kSinSaber = 1000000;     // pages, where a document's are not known
constexpr size_t kTope = kSinSaber * 10;  // where larger numbers end

// A run of digits that isn't empty.
bool Numero(const std::string& texto, size_t& n) {
    if (texto.empty() || texto.find_first_not_of("0123456789") != texto.npos) return false;
    n = 0;
    for (const char c : texto) n = std::min(n * 10 + static_cast<size_t>(c - '0'), kTope);
    return true;
}

Defecto DefectoDe(std::string& trozo, size_t paginas) {
    const size_t guion = trozo.find('-');
    const std::string primera = trozo.substr(0, guion);
    const std::string ultima = guion == trozo.npos ? primera : trozo.substr(guion + 1);
    size_t a = 0;
    size_t b = 0;
    if (!Numero(primera, a) || !Numero(ultima, b)) return Defecto::Forma;
    if (a < 1 || a > paginas) {
        trozo = primera;
        return Defecto::NoExiste;
    }
    if (b < a) return Defecto::AlReves;
    if (b <= paginas) return Defecto::Ninguno;
    trozo = ultima;
    return Defecto::NoExiste;
}

}  // namespace

ListaRevisada RevisarLista(const std::string& lista, size_t paginas) {
    constexpr const char* kSeparadores = ", ";
    const size_t tope = paginas == 0 ? kSinSaber : paginas;
    for (size_t pos = lista.find_first_not_of(kSeparadores); pos != lista.npos;) {
        const size_t fin = std::min(lista.find_first_of(kSeparadores, pos), lista.size());
        std::string trozo = lista.substr(pos, fin - pos);
        if (const Defecto d = DefectoDe(trozo, tope); d != Defecto::Ninguno) return {d, trozo, 0};
        pos = lista.find_first_not_of(kSeparadores, fin);
    }
    const size_t cuantas = Interno::ParsarLista(lista, tope).size();
    return {cuantas == 0 ? Defecto::Vacia : Defecto::Ninguno, {}, cuantas};
}

}  // namespace LxPdfSigner
