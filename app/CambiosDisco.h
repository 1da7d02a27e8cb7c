// Tells when a file is no longer the one that was read: written anew, put in place of the other, or gone.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

#include "app/Correo.h"
#include "crypto/LxDescriptor.h"

class CCambiosDisco {
  public:
    // By which one state of a file is told from another.
    struct Marca {
        bool hay = false;
        dev_t disco = 0;
        ino_t numero = 0;
        off_t bytes = 0;
        long long momento = 0;   // of its last change, in nanoseconds
        long long registro = 0;  // of what the system noted of it, which no program can set back

        bool operator==(const Marca&) const = default;
    };
    [[nodiscard]] static Marca MarcaDe(const std::string& ruta);

    explicit CCambiosDisco(std::shared_ptr<Correo> correo) : correo_(std::move(correo)) {}
    ~CCambiosDisco() { Dejar(); }
    CCambiosDisco(const CCambiosDisco&) = delete;
    CCambiosDisco& operator=(const CCambiosDisco&) = delete;

    // From now on `alCambiar` hears that the file isn't `marca` any more, once it has been left alone for a while; it
    // may be called again and again. Ends what was watched before.
    void Vigilar(const std::string& ruta, const Marca& marca, std::function<void()> alCambiar);
    // The file was read anew: this is it from now on.
    void Poner(const Marca& marca) { marca_ = marca; }
    void Dejar();
    // Whether the file is another one now, heard of or not. False when nothing is watched.
    [[nodiscard]] bool HayCambio() const { return !ruta_.empty() && MarcaDe(ruta_) != marca_; }

  private:
    void Leer();
    void Esperar();

    std::shared_ptr<Correo> correo_;
    Lx::Api::Descriptor cola_;
    unsigned vigilia_ = 0;  // number of the backend's watch
    std::string ruta_, nombre_;
    Marca marca_;
    std::function<void()> alCambiar_;
    unsigned vez_ = 0;  // of the last event; what waits for quiet compares
};
