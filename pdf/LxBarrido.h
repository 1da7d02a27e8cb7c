// The simple reading of a document: the whole text in memory, objects found by scanning it for "N G obj", and only what
// stands in the file as text. Objects inside object streams stay invisible, and text that looks like an object's header
// passes for one: for callers that need exactly this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pdf/LxLectura.h"

namespace LxPdf {

// Inner text of the trailer for the cross-reference section at `offset`: the one after a table, or the dictionary of a
// cross-reference stream (ISO 32000-1, 7.5.5 and 7.5.8). The entries aren't looked at.
[[nodiscard]] bool LeerTrailer(std::string_view datos, size_t offset, std::string_view& dict);

class Barrido final : public Lectura {
  public:
    // Null, with `fallo`, when the text has no document in it.
    [[nodiscard]] static std::unique_ptr<Barrido> Abrir(std::string datos, Fallo& fallo);
    // Objects alone, of any text: the number (1 to 2^31) to the offset of the first digit of its header; the last one
    // of each number wins, generations are ignored.
    explicit Barrido(std::string datos);

    [[nodiscard]] const std::map<long, size_t>& Objetos() const { return objetos_; }
    // Reading every object would be quadratic work, since they lie inside each other.
    [[nodiscard]] bool Agotado() const { return margen_ == 0; }
    // As below, as views of the text.
    [[nodiscard]] bool ValorEn(long num, std::string_view& valor) const;
    [[nodiscard]] bool DictEn(long num, std::string_view& dict) const;
    // Page objects from the node on, each once. Levels below 32 are left out; a cycle ends there.
    [[nodiscard]] std::vector<Ref> PaginasDesde(long nodo) const;

    [[nodiscard]] const Fuente& Bytes() const override { return *fuente_; }
    [[nodiscard]] Seccion Clase() const override { return Seccion::Tabla; }
    [[nodiscard]] uint64_t Previo() const override { return previo_; }
    [[nodiscard]] std::string_view Trailer() const override { return trailer_; }
    [[nodiscard]] Ref Raiz() const override { return raiz_; }
    [[nodiscard]] uint32_t Siguiente() const override;
    [[nodiscard]] bool ValorDe(Ref ref, std::string& valor) const override;
    // Only with generation 0.
    [[nodiscard]] bool RefDe(std::string_view dict, std::string_view clave, Ref& ref) const override;
    // What isn't seen may be there all the same.
    [[nodiscard]] bool EsNulo(Ref) const override { return false; }
    // False when a later revision that compresses objects may have replaced it, unseen: writing it again would undo
    // that revision.
    [[nodiscard]] bool Vigente(Ref ref) const override;
    [[nodiscard]] const std::vector<Ref>& Paginas() const override { return paginas_; }
    // All signature fields of the file and their visible widgets, whatever `paginas` are.
    [[nodiscard]] bool LeerCampos(const std::vector<Ref>& paginas, Campos& campos, Fallo& fallo) override;

  private:
    Barrido() = default;
    bool Localizar(Fallo& fallo);
    bool LeerRaiz(Fallo& fallo);
    bool LeerArbol(Fallo& fallo);
    void Buscar();

    std::string datos_;
    std::unique_ptr<Fuente> fuente_;
    std::map<long, size_t> objetos_;
    mutable uint64_t margen_ = 0;  // bytes of values that may still be read
    size_t frontera_ = 0;          // where the last revision that compresses objects begins, 0 when none does
    uint64_t previo_ = 0;
    std::string_view trailer_;
    Ref raiz_;
    long tamano_ = 0;  // /Size
    std::vector<Ref> paginas_;
};

}  // namespace LxPdf
