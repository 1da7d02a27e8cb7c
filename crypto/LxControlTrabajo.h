// What a job and whoever watches it know of each other: how far it has come, and that it should end. One object a job;
// the job's side is used by one thread at a time, the watcher's side from any.
#pragma once

#include <atomic>
#include <cstdint>

namespace Lx {

// What a job is doing.
enum class Etapa : unsigned char {
    Ninguna,
    Lector,     // looking for readers and connecting to the card
    Tarjeta,    // reading the card
    Almacen,    // the system's certificate store
    Pkcs12,     // a PKCS#12 file
    Persona,    // waits for an answer of the person
    Documento,  // reading the document
    Copia,      // copying it; counts bytes
    Clave,      // the key signs
    Guardar,    // checking the new file and getting it to the disk
};

class Control {
  public:
    struct Estado {
        Etapa etapa = Etapa::Ninguna;
        bool ocupado = false;  // another program holds what this stage needs
        uint64_t hechos = 0;   // bytes; 0 of 0 where nothing is counted
        uint64_t total = 0;
        bool comprometido = false;
        bool cancelado = false;
    };

    Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    // --- The job's side

    // A new stage begins, of `total` bytes when they can be counted.
    void Pasar(Etapa etapa, uint64_t total = 0);
    void Avanzar(uint64_t hechos);
    void Ocupado(bool si);
    // The job should end as soon as it can, leaving nothing behind. Never true between Comprometer and Soltar.
    [[nodiscard]] bool Cancelado() const { return fase_ == kCancelada; }
    // The key is about to be used: from here to Soltar nothing is given up. False, and nothing begins, when the job was
    // cancelled before.
    [[nodiscard]] bool Comprometer();
    // The same for a step that may come after another one that used a key: true too while the job is committed and
    // nobody has asked for its end.
    [[nodiscard]] bool SeguirComprometido();
    // What was begun with the key is finished, or was never begun. A cancel that came meanwhile counts from here on.
    void Soltar();

    // --- The watcher's side

    // Asks the job to end. False when the key is in use: then it ends before it would use it again. May be called by a
    // signal handler.
    bool Cancelar();
    [[nodiscard]] Estado Ver() const;

  private:
    enum Fase : int { kLibre, kComprometida, kComprometidaYCancelada, kCancelada };

    std::atomic<int> fase_{kLibre};
    std::atomic<Etapa> etapa_{Etapa::Ninguna};
    std::atomic<bool> ocupado_{false};
    std::atomic<uint64_t> hechos_{0};
    std::atomic<uint64_t> total_{0};
    static_assert(std::atomic<int>::is_always_lock_free && std::atomic<uint64_t>::is_always_lock_free);
};

// From Comprometer to the end of a scope.
class Compromiso {
  public:
    explicit Compromiso(Control& control) : control_(control), tomado_(control.Comprometer()) {}
    ~Compromiso() {
        if (tomado_) control_.Soltar();
    }
    Compromiso(const Compromiso&) = delete;
    Compromiso& operator=(const Compromiso&) = delete;
    [[nodiscard]] explicit operator bool() const { return tomado_; }

  private:
    Control& control_;
    bool tomado_;
};

}  // namespace Lx
