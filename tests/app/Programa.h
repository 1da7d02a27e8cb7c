// The program on a display of the test's own: real mouse, real keys. What the windows say is read as an assistive tool
// reads it.
#pragma once

#include <gmock/gmock.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tests/apoyo/pantalla/Pantalla.h"
#include "tests/cli/Lectores.h"

namespace PruebaCli {

// What the mouse goes to, as an assistive tool names it; of several the last one, which is in the window on top.
inline constexpr const char *kFirmar = "button.Firmar", *kHoja = "text.Página", *kSello = "combo box.Sello visual",
                            *kRuta = "text.PKCS#12", *kClave = "password text.Contraseña";

// Whether the text stands anywhere in the memory of a process.
[[nodiscard]] bool EstaEnMemoria(pid_t pid, const std::string& texto);

class Programa : public ConTarjeta {
  protected:
    void SetUp() override {
        ConTarjeta::SetUp();
        ASSERT_EQ(pantalla_.Error(), "");
    }
    void TearDown() override {
        programa_.reset();
        ConTarjeta::TearDown();
    }

    // Starts the program through a shell, where $V is the program.
    void Lanzar(const std::string& orden) {
        std::vector<std::string> todo = Comando();
        todo.insert(todo.end(), {"sh", "-c", "V=" VELMORA "; " + orden});
        programa_.reset();  // or its window would be taken for the new one's
        programa_ = std::make_unique<Apoyo::CPrograma>(todo, pantalla_.Entorno());
    }
    void Abrir(const std::string& documento) {
        Lanzar("exec $V " + documento);
        ventana_ = Espera("Velmora 2026");
        Ve("label." + documento);
    }
    // Waits for a line that matches, "role|name|states|text"; gives all lines.
    std::string Ve(const std::string& patron, int segundos = 15) {
        const Apoyo::Salida s = pantalla_.Textos({patron, std::to_string(segundos)});
        EXPECT_EQ(s.codigo, 0) << "no line " << patron << " in\n" << s.texto << s.errores;
        return s.texto;
    }
    // The mouse goes to the thing, and clicks it.
    void Senalar(const std::string& cosa, bool clic = false) {
        const Apoyo::Salida s = pantalla_.Textos({cosa, "15", "donde"});
        int x = 0, y = 0;
        ASSERT_EQ(std::sscanf(s.texto.c_str(), "%d %d", &x, &y), 2) << "no " << cosa << " in\n" << s.texto << s.errores;
        clic ? pantalla_.Clic("", x, y) : pantalla_.Mover("", x, y);
    }
    void Clic(const std::string& cosa) { Senalar(cosa, true); }
    void Escribir(const std::string& texto) {
        pantalla_.Pulsar("ctrl+a");
        pantalla_.Teclear(texto);
        pantalla_.Pulsar("Return");
    }
    using ConTarjeta::Escribir;
    std::string Espera(const std::string& titulo) {
        std::string ventana = pantalla_.EsperarVentana(titulo);
        EXPECT_NE(ventana, "") << titulo << "\n" << programa_->Errores();
        return ventana;
    }
    // Opens the certificate dialog, and waits for its list.
    std::string Elegir() {
        Clic(kFirmar);
        std::string dialogo = Espera("Selecciona el certificado digital");
        Ve(R"(label.*(certificado\(s\)|No hay ningun certificado))");
        return dialogo;
    }
    void ElegirPkcs12() {
        Elegir();
        Clic(kRuta);
        pantalla_.Teclear(identidad_->p12);
        Clic(kClave);
        Escribir(identidad_->password);
        Ve(R"(list item.*PKCS#12.*del fichero)");
    }
    // With what the dialog has chosen.
    void FirmarConElPrimero() {
        Elegir();
        pantalla_.Pulsar("Return");
    }
    std::string ElPin() { return Espera("PIN del DNI"); }

    void DarPin(const std::string& pin) {
        ElPin();
        pantalla_.Teclear(pin);
        pantalla_.Pulsar("Return");
    }

    Apoyo::CPantalla pantalla_{true};
    std::unique_ptr<Apoyo::CPrograma> programa_;
    std::string ventana_;
};

}  // namespace PruebaCli
