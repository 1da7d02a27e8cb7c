#include "ayudante/LxMuros.h"

#include "ayudante/LxPrograma.h"
#include "ayudante/LxRanuras.h"

namespace Lx::Ayudante {

std::optional<Muros> MurosEnVigor() {
    const auto ranuras = Ranuras::Crear(kUnidad);
    const auto programa = ranuras ? Programa::Arrancar(ranuras->Memoria()) : nullptr;
    if (!programa) return {};
    while (true) {
        switch (programa->Leer(Programa::kPlazoSaludo)) {
            case Noticia::Nada:
                break;
            case Noticia::Saludo:
            case Noticia::SinMuros:
                return programa->LosMuros();
            default:
                return {};
        }
    }
}

std::string ExplicarFalta(const Muros& muros) {
    if (!muros.seccomp)
        return "No se dibujan páginas: este sistema no ofrece el filtro de llamadas (seccomp) que aísla su lectura.";
    return "No se dibujan páginas: este sistema no ofrece ni intermediario de ficheros (avisos de seccomp) ni "
           "Landlock, y sin uno de los dos su lectura no queda aislada.";
}

std::string ExplicarMuros(const std::optional<Muros>& muros) {
    if (!muros) return "No se dibujan páginas: el programa que las dibuja (velmora-pagina) falta o no responde.";
    if (!Bastan(*muros)) return ExplicarFalta(*muros);
    const std::string version = " (versión " + std::to_string(muros->landlock) + ")";
    std::string frase = "Lectura de PDF aislada: filtro de llamadas (seccomp)";
    if (!muros->intermediario) return frase + " y Landlock" + version + "; no hay intermediario de ficheros.";
    if (muros->landlock > 0) return frase + ", intermediario de ficheros y Landlock" + version + ".";
    return frase + " e intermediario de ficheros; Landlock no está en este núcleo.";
}

}  // namespace Lx::Ayudante
