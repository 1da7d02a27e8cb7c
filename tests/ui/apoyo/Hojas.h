// A document of the view that only pretends: it writes down what it is asked, and answers when the test tells it to.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ui/LxPages.h"

namespace Falso {

class Hojas : public Lx::Pdf::IPages {
  public:
    Hojas(Lx::Pdf::Opened estado, Lx::Pdf::OnOpened abierto) : listo(std::move(estado)), abierto_(std::move(abierto)) {}

    // What it has, for the answers.
    Lx::Pdf::Opened listo;
    std::function<Lx::Pdf::PageText(int32_t)> texto;
    std::vector<Lx::Pdf::Link> enlaces;
    std::vector<Lx::Pdf::OutlineItem> indice;
    std::vector<Lx::Pdf::Attachment> adjuntos;
    Lx::Pdf::PageSize medida{600, 800};  // of the pages that `listo` doesn't tell
    Lx::Pdf::Outcome fallo = Lx::Pdf::Outcome::Good;
    std::string clave;  // of a locked document

    // "dibujar 0 572 0,0,572,763", "texto 3", "cancelar 7"; since the last time it was taken.
    std::vector<std::string> Tomar() { return std::exchange(registro_, {}); }
    void Abrir() { abierto_(listo); }
    // Answers what was asked, the oldest first: at most so many. Gives how many there were.
    size_t Contestar(size_t cuantas = 1);
    // Until nothing more is asked.
    void ContestarTodo() {
        while (Contestar() > 0) {
        }
    }
    // The answers of a search.
    void Hallar(const Lx::Pdf::SearchNews& nuevas) { buscar_(Lx::Pdf::Outcome::Good, nuevas); }
    [[nodiscard]] std::weak_ptr<int> Vivo() const { return vivo_; }

    [[nodiscard]] const Lx::Pdf::Opened& State() const override { return listo; }
    void Unlock(const std::string& dada) override;
    Id Sizes(int32_t primera, int32_t cuantas, Done<std::vector<Lx::Pdf::PageSize>> hecho) override;
    Id Draw(const Lx::Pdf::TileSpec& trozo, Done<Lx::Pdf::Picture> hecho) override;
    Id DrawThumbnail(const Lx::Pdf::TileSpec& trozo, Done<Lx::Pdf::Picture> hecho) override;
    Id Text(int32_t hoja, Done<Lx::Pdf::PageText> hecho) override;
    Id Links(int32_t hoja, Done<std::vector<Lx::Pdf::Link>> hecho) override;
    Id Outline(Done<std::vector<Lx::Pdf::OutlineItem>> hecho) override;
    Id Attachments(Done<std::vector<Lx::Pdf::Attachment>> hecho) override;
    Id SaveAttachment(int32_t cual, const std::string& ruta, Done<std::string> hecho) override;
    Id Search(const Lx::Pdf::SearchSpec& peticion, Done<Lx::Pdf::SearchNews> nuevas) override;
    void Cancel(Id numero) override;
    void Shrink() override { registro_.emplace_back("encoger"); }

  private:
    Id Apuntar(const std::string& linea, std::function<void()> respuesta);
    Id Dibujar(const std::string& como, const Lx::Pdf::TileSpec& trozo, Done<Lx::Pdf::Picture> hecho);

    Lx::Pdf::OnOpened abierto_;
    std::vector<std::string> registro_;
    std::deque<std::pair<Id, std::function<void()>>> pendientes_;
    Done<Lx::Pdf::SearchNews> buscar_;
    Id numero_ = 0;
    std::shared_ptr<int> vivo_ = std::make_shared<int>(0);
};

}  // namespace Falso
