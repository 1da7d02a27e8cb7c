// An identity card made of tables: what it holds, how it answers and where it fails.
#pragma once

#include <climits>
#include <map>
#include <string>
#include <vector>

#include "tests/apoyo/tarjeta/Identidades.h"

namespace Apoyo {

// A fault: replaces the answer of the commands that it covers.
struct Fallo {
    int ins = -1;                // only this instruction; -1: any
    int desde = 0;               // only from this APDU on, counted from 0 since the card was inserted
    int veces = INT_MAX;         // only so many times
    std::string respuesta = {};  // hex; empty: no answer at all
    bool retirar = false;        // the card is gone from then on
    bool sinGastar = false;      // the card does its work first, only its answer is lost
};

struct Escenario {
    enum Fin { Corto, FinDeFichero, Le6C };  // how READ BINARY tells that fewer bytes are left than were asked for

    int perfil = 2;
    bool sinContacto = false;
    std::string atr;                             // hex
    std::map<std::string, Bytes> ficheros = {};  // by identifier, hex
    Fin fin = Corto;
    size_t trozo61 = 0;  // longer answers come through GET RESPONSE in pieces of this size; 0: never
    bool conDo = true;   // knows the odd READ BINARY
    bool conBinary = true;
    bool exigeLe = false;  // refuses SELECT without Le
    std::string pin = "123456";
    int intentos = 3;
    std::vector<int> claves;          // key references that exist
    std::string identidad = "firma";  // whose key signs
    std::vector<Fallo> fallos = {};
};

// A card as it is issued. Its signature certificate is the one of `identidad` "firma", the others are of "otra".
Escenario EscenarioDe(int perfil, bool sinContacto);
std::string NombreLector(bool sinContacto);

class CTarjetaVirtual {
  public:
    explicit CTarjetaVirtual(Escenario escenario) : e_(std::move(escenario)), intentos_(e_.intentos) {}

    // Whole answer with its status word; empty when there is none.
    Bytes Procesar(const Bytes& apdu);
    void Reiniciar();  // power cycle: selections and PIN are forgotten, tries and transcript are not

    [[nodiscard]] Bytes Atr() const;
    [[nodiscard]] bool Retirada() const { return retirada_; }
    [[nodiscard]] int Intentos() const { return intentos_; }
    [[nodiscard]] int Verificaciones() const { return verificaciones_; }  // VERIFY commands that carried a PIN
    [[nodiscard]] int TrasRechazo() const { return trasRechazo_; }        // those sent after a refused one
    [[nodiscard]] int Apdus() const { return apdus_; }
    // One line per command and per answer, the PIN hidden, long data as their length.
    [[nodiscard]] const std::string& Transcripcion() const { return transcripcion_; }

  private:
    struct Comando {
        int ins, p1, p2;
        Bytes datos;
        bool conLe;
        size_t le;
    };
    static Comando Separar(const Bytes& apdu);
    const Fallo* FalloDe(int ins);
    Bytes Responder(const Comando& c);
    Bytes Select(const Comando& c);
    Bytes SelectAid(const Comando& c);
    Bytes ReadBinary(const Comando& c);
    Bytes ReadDo(const Comando& c);
    Bytes Verify(const Comando& c);
    Bytes Mse(const Comando& c);
    Bytes Pso(const Comando& c);
    Bytes GetResponse(const Comando& c);
    Bytes PorTrozos(Bytes datos);
    void Anotar(const Bytes& apdu, const Bytes& respuesta);

    Escenario e_;
    int intentos_;
    int apdus_ = 0;
    int verificaciones_ = 0;
    int trasRechazo_ = 0;
    bool rechazado_ = false;
    bool retirada_ = false;
    bool pinAceptado_ = false;
    bool claveElegida_ = false;
    std::string app_;            // identifier of the selected application
    std::string df_;             // and directory
    const Bytes* ef_ = nullptr;  // and file
    Bytes pendiente_;            // for GET RESPONSE
    std::map<const Fallo*, int> gastados_;
    std::string transcripcion_;
};

}  // namespace Apoyo
