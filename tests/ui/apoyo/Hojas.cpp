#include "tests/ui/apoyo/Hojas.h"

#include <algorithm>

#include "tests/ui/apoyo/Falso.h"

namespace Falso {

using namespace Lx::Pdf;

IPages::Id Hojas::Apuntar(const std::string& linea, std::function<void()> respuesta) {
    registro_.push_back(linea);
    pendientes_.emplace_back(++numero_, std::move(respuesta));
    return numero_;
}

size_t Hojas::Contestar(size_t cuantas) {
    size_t hechas = 0;
    for (; hechas < cuantas && !pendientes_.empty(); ++hechas) {
        const auto respuesta = std::move(pendientes_.front().second);
        pendientes_.pop_front();
        respuesta();
    }
    return hechas;
}

void Hojas::Unlock(const std::string& dada) {
    listo.outcome = dada == clave ? Outcome::Good : Outcome::Locked;
    Apuntar("clave", [this] { Abrir(); });
}

IPages::Id Hojas::Sizes(int32_t primera, int32_t cuantas, Done<std::vector<PageSize>> hecho) {
    return Apuntar("medidas " + std::to_string(primera) + " " + std::to_string(cuantas),
                   [=, this] { hecho(fallo, std::vector<PageSize>(static_cast<size_t>(cuantas), medida)); });
}

// Of few real bytes, whatever its size.
IPages::Id Hojas::Dibujar(const std::string& como, const TileSpec& trozo, Done<Picture> hecho) {
    const auto bytes = std::make_shared<std::vector<unsigned char>>(static_cast<size_t>(trozo.area.w) *
                                                                    static_cast<size_t>(trozo.area.h) * 4);
    const Picture hoja{bytes->data(), trozo.area.w, trozo.area.h, trozo.area.w * 4, bytes};
    return Apuntar(
        como + " " + std::to_string(trozo.page) + " " + std::to_string(trozo.width) + " " + Apuntes::Texto(trozo.area),
        [=, this] { hecho(fallo, fallo == Outcome::Good ? hoja : Picture{}); });
}

IPages::Id Hojas::Draw(const TileSpec& trozo, Done<Picture> hecho) {
    return Dibujar("dibujar", trozo, std::move(hecho));
}

IPages::Id Hojas::DrawThumbnail(const TileSpec& trozo, Done<Picture> hecho) {
    return Dibujar("miniatura", trozo, std::move(hecho));
}

IPages::Id Hojas::Text(int32_t hoja, Done<PageText> hecho) {
    return Apuntar("texto " + std::to_string(hoja), [=, this] { hecho(fallo, texto ? texto(hoja) : PageText{}); });
}

IPages::Id Hojas::Links(int32_t hoja, Done<std::vector<Link>> hecho) {
    return Apuntar("enlaces " + std::to_string(hoja), [=, this] { hecho(fallo, enlaces); });
}

IPages::Id Hojas::Outline(Done<std::vector<OutlineItem>> hecho) {
    return Apuntar("indice", [=, this] { hecho(fallo, indice); });
}

IPages::Id Hojas::Attachments(Done<std::vector<Attachment>> hecho) {
    return Apuntar("adjuntos", [=, this] { hecho(fallo, adjuntos); });
}

IPages::Id Hojas::SaveAttachment(int32_t cual, const std::string& ruta, Done<std::string> hecho) {
    return Apuntar("guardar " + std::to_string(cual) + " " + ruta, [=, this] { hecho(fallo, std::string()); });
}

IPages::Id Hojas::Search(const SearchSpec& peticion, Done<SearchNews> nuevas) {
    buscar_ = std::move(nuevas);
    registro_.push_back("buscar " + peticion.pattern + " " + std::to_string(peticion.from));
    return ++numero_;
}

void Hojas::Cancel(Id numero) {
    registro_.push_back("cancelar " + std::to_string(numero));
    std::erase_if(pendientes_, [=](const auto& pendiente) { return pendiente.first == numero; });
}

}  // namespace Falso
