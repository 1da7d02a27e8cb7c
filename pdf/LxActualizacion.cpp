#include "pdf/LxActualizacion.h"

#include <algorithm>
#include <cstdio>

#include "pdf/LxSintaxis.h"

namespace LxPdf {

namespace {

constexpr const char* kLibre = "0000000000 65535 f \n";

std::string Linea(uint64_t pos, unsigned gen) {
    char linea[48];
    snprintf(linea, sizeof linea, "%010llu %05u n \n", static_cast<unsigned long long>(pos), gen);
    return linea;
}

// Bytes that the number takes, one at least.
int Ancho(uint64_t n) {
    int bytes = 1;
    while (bytes < 8 && n >> (8 * bytes) != 0) ++bytes;
    return bytes;
}

void PonerNumero(std::string& salida, uint64_t n, int ancho) {
    for (int i = ancho - 1; i >= 0; --i) salida += static_cast<char>(n >> (8 * i) & 0xFF);
}

// The array text under a value that stands in a dictionary, with `ref` added.
bool ArrayCon(const Lectura& doc, std::string_view valor, const std::string& ref, std::string& nuevo) {
    long num = 0;
    long gen = 0;
    const bool referencia = LeerReferencia(valor, num, gen) && num > 0 && num <= UINT32_MAX && gen >= 0 && gen <= 65535;
    const Ref array{static_cast<uint32_t>(referencia ? num : 0), static_cast<uint16_t>(referencia ? gen : 0)};
    if (valor == "null" || (referencia && doc.EsNulo(array))) {
        nuevo = "[ " + ref + " ]";
        return true;
    }
    if (!referencia) {
        if (valor.size() < 2 || valor.front() != '[' || valor.back() != ']') return false;
        nuevo.assign(valor.substr(0, valor.size() - 1)).append(" ").append(ref).append(" ]");
        return true;
    }
    std::string elementos;
    if (!doc.Vigente(array) || !doc.ArrayDe(valor, elementos)) return false;
    // A comment at the end would swallow what follows it on its line.
    const std::string_view separador = elementos.find('%') == std::string::npos ? " " : "\n";
    nuevo.assign("[ ").append(elementos).append(separador).append(ref).append(" ]");
    return true;
}

}  // namespace

std::string Envolver(std::string_view dict) {
    if (dict.empty()) return "<< >>";
    if (dict.starts_with("<<")) return std::string(dict);
    return std::string("<<").append(dict).append(">>");
}

std::string PonerValor(std::string_view dict, std::string_view clave, std::string_view valor) {
    size_t ini = 0;
    size_t fin = 0;
    std::string nuevo;
    nuevo.reserve(dict.size() + clave.size() + valor.size() + 3);
    if (ValorClave(dict, clave, ini, fin)) {
        nuevo.append(dict.substr(0, ini)).append(" ").append(valor).append(dict.substr(fin));
    } else {
        nuevo.append(dict).append(" /").append(clave).append(" ").append(valor);
    }
    return nuevo;
}

bool MeterRef(const Lectura& doc, std::string_view dict, std::string_view clave, Ref ref, std::string& nuevo) {
    size_t ini = 0;
    size_t fin = 0;
    std::string array = "[ " + Texto(ref) + " ]";
    if (ValorClave(dict, clave, ini, fin) && !ArrayCon(doc, ValorDe(dict, clave), Texto(ref), array)) return false;
    nuevo = PonerValor(dict, clave, array);
    return true;
}

void Actualizacion::Abrir(Ref ref) {
    sitios_[ref.num] = {ref.gen, 0, Total() - cero_};
}

void Actualizacion::Objeto(Ref ref, std::string_view cuerpo) {
    Abrir(ref);
    texto_ += std::to_string(ref.num) + " " + std::to_string(ref.gen) + " obj\n";
    texto_.append(cuerpo).append("\nendobj\n");
}

void Actualizacion::Ajeno(Ref ref, uint32_t contenedor, uint64_t pos) {
    sitios_.try_emplace(ref.num, Sitio{ref.gen, contenedor, pos});
}

void Actualizacion::Fin(uint64_t seccion) {
    texto_ += "startxref\n" + std::to_string(seccion - cero_) + "\n%%EOF\n";
}

void Actualizacion::Tabla(std::string_view trailer) {
    const uint64_t inicio = Total();
    texto_.append("xref\n0 1\n").append(kLibre);
    for (const auto& [num, sitio] : sitios_) {
        texto_ += std::to_string(num) + " 1\n" + Linea(sitio.pos, sitio.gen);
    }
    texto_.append("trailer\n<<").append(trailer).append(" >>\n");
    Fin(inicio);
}

void Actualizacion::TablaEntera(std::string_view trailer) {
    const uint64_t inicio = Total();
    const uint32_t total = sitios_.empty() ? 1 : sitios_.rbegin()->first + 1;
    texto_ += "xref\n0 " + std::to_string(total) + "\n";
    uint32_t siguiente = 0;
    for (const auto& [num, sitio] : sitios_) {
        for (; siguiente < num; ++siguiente) texto_ += kLibre;
        texto_ += Linea(sitio.pos, sitio.gen);
        ++siguiente;
    }
    texto_.append("trailer\n<<").append(trailer).append(" >>\n");
    Fin(inicio);
}

void Actualizacion::Flujo(uint32_t num, std::string_view trailer) {
    const uint64_t inicio = Total();
    Abrir({num, 0});
    uint64_t mayor = 0;
    uint64_t menor = 0;  // generations and indices
    for (const auto& [n, s] : sitios_) {
        mayor = std::max(mayor, s.contenedor == 0 ? s.pos : s.contenedor);
        menor = std::max(menor, s.contenedor == 0 ? s.gen : s.pos);
    }
    const int w[] = {1, Ancho(mayor), std::max(2, Ancho(menor))};
    std::string datos;
    std::string indice;
    uint32_t desde = 0;
    uint32_t cuantos = 0;
    const auto cerrar = [&] {
        if (cuantos > 0) indice += (indice.empty() ? "" : " ") + std::to_string(desde) + " " + std::to_string(cuantos);
    };
    for (const auto& [n, s] : sitios_) {
        if (cuantos == 0 || n != desde + cuantos) {
            cerrar();
            desde = n;
            cuantos = 0;
        }
        ++cuantos;
        PonerNumero(datos, s.contenedor == 0 ? 1 : 2, w[0]);
        PonerNumero(datos, s.contenedor == 0 ? s.pos : s.contenedor, w[1]);
        PonerNumero(datos, s.contenedor == 0 ? s.gen : s.pos, w[2]);
    }
    cerrar();
    texto_ += std::to_string(num) + " 0 obj\n<< /Type /XRef";
    texto_.append(trailer);
    texto_ += " /W [" + std::to_string(w[0]) + " " + std::to_string(w[1]) + " " + std::to_string(w[2]) + "] /Index [" +
              indice + "] /Length " + std::to_string(datos.size()) + " >>\nstream\n" + datos + "\nendstream\nendobj\n";
    Fin(inicio);
}

}  // namespace LxPdf
