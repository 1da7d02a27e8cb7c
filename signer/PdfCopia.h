// The way of a signed document to its file: all of the document is copied while the key hasn't signed yet, hashed as it
// goes, and hashed again as it is read back from the file, so that the end only adds the update.
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "crypto/LxControlTrabajo.h"
#include "crypto/LxMotivo.h"
#include "crypto/LxSha256.h"
#include "pdf/LxFuente.h"
#include "signer/PdfProvisional.h"

namespace LxPdfSigner::Interno {

// One copy an object, its functions in this order. Whatever they return, what has the output's name is what it was
// before until Acabar has returned true; only what can't be replaced (Provisional::Directa) gets its bytes directly,
// and not before Acabar. Up to Reservar all end with Cancelado, and nothing is left, soon after the control says so.
class Copia {
  public:
    struct Ajustes {
        bool sinNombre = true;   // a nameless file where the file system has them
        unsigned hilos = 2;      // at most; 0: all on the caller's
        bool deDosEnDos = true;  // both hashes at once where the processor can
    };

    Copia() = default;
    explicit Copia(const Ajustes& ajustes) : ajustes_(ajustes) {}
    // What has no final name yet goes.
    ~Copia();
    Copia(const Copia&) = delete;
    Copia& operator=(const Copia&) = delete;

    // Begins to copy all of `fuente` to what will be `destino`; source and control must outlive the copy. On false one
    // sentence in `error`.
    [[nodiscard]] bool Empezar(const LxPdf::Fuente& fuente, Destino destino, Lx::Control& control, Lx::Motivo& motivo,
                               std::string& error);
    // Waits for the copy, which is now a stage of the job; `hash` continues after the document's last byte.
    [[nodiscard]] bool Esperar(Lx::Api::Interno::Sha256Ctx& hash, Lx::Motivo& motivo, std::string& error);
    // Makes sure that a file of `total` bytes fits, where the file system can tell.
    [[nodiscard]] bool Reservar(uint64_t total, Lx::Motivo& motivo, std::string& error);
    // Appends `actualizacion`, which holds the last /ByteRange and the hole, checks what the file then holds against
    // `digest`, and gives it its name.
    [[nodiscard]] bool Acabar(std::string_view actualizacion, const std::vector<unsigned char>& digest,
                              Lx::Motivo& motivo, std::string& error);
    // The output's name.
    [[nodiscard]] const std::string& Ruta() const { return nuevo_.Ruta(); }

  private:
    // What is done with each piece. Each goes over the pieces in order, and none overtakes the one it lives on.
    enum Tarea : size_t { kMover, kCubrir, kComprobar, kTareas };

    [[nodiscard]] size_t Largo(uint64_t pieza) const;
    [[nodiscard]] bool Posible(size_t tarea) const;
    [[nodiscard]] size_t Elegir() const;
    [[nodiscard]] bool Hecho() const;
    void Trabajar();
    [[nodiscard]] bool Releer(uint64_t pieza);
    [[nodiscard]] Lx::Motivo Hacer(size_t tarea, uint64_t pieza);
    void Parar();
    void Contar();
    [[nodiscard]] Lx::Motivo Anadir(std::string_view actualizacion, const std::vector<unsigned char>& digest);
    [[nodiscard]] Lx::Motivo EscribirDirecta(std::string_view actualizacion, const std::vector<unsigned char>& digest);
    [[nodiscard]] bool Fallo(Lx::Motivo causa, Lx::Motivo& motivo, std::string& error) const;

    Ajustes ajustes_;
    const LxPdf::Fuente* fuente_ = nullptr;
    Lx::Control* control_ = nullptr;
    std::string salida_;  // the name that was asked for
    bool reservar_ = false;
    uint64_t reservados_ = 0;  // bytes
    Provisional nuevo_;
    uint64_t piezas_ = 0;
    bool juntos_ = false;              // kCubrir does the work of kComprobar along with its own
    std::vector<std::string> leidas_;  // a ring: read from the source, and not hashed yet
    std::string releida_;
    Lx::Api::Interno::Sha256Ctx cubierto_;    // of what was read from the source
    Lx::Api::Interno::Sha256Ctx comprobado_;  // of what was read back

    std::mutex cerrojo_;  // of what follows
    std::condition_variable cambio_;
    std::array<uint64_t, kTareas> hechas_{};  // pieces
    std::array<bool, kTareas> ocupada_{};
    bool parar_ = false;
    bool contar_ = false;  // the bytes done, for the control
    Lx::Motivo causa_ = Lx::Motivo::Ninguno;
    std::vector<std::thread> hilos_;
};

}  // namespace LxPdfSigner::Interno
