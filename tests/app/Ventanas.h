// What the tests of the windows share: windows over a backend that only records, and certificate sources that do what
// the test says.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "app/DlgFirmar.h"
#include "app/MainWindow.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/app/Fuentes.h"
#include "tests/ui/apoyo/Falso.h"
#include "tests/ui/apoyo/Hojas.h"
#include "ui/LxButton.h"
#include "ui/LxLabel.h"

namespace PruebaApp {

namespace Paleta = Orvanta::Paleta;
using Lx::KeyCode;
using Lx::CertStore::Entrada;
using Lx::CertStore::Origen;
using testing::ElementsAre;

// A document of so many pages that can be signed.
inline std::string Pdf(int paginas) {
    std::vector<std::string> objetos = {"<< /Type /Catalog /Pages 2 0 R >>", ""};
    std::string hijos;
    for (int i = 0; i < paginas; ++i) {
        objetos.emplace_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] >>");
        hijos += std::to_string(objetos.size()) + " 0 R ";
    }
    objetos[1] = "<< /Type /Pages /Kids [" + hijos + "] /Count " + std::to_string(paginas) + " >>";
    return Apoyo::PdfDe(objetos);
}

// The n-th control of a kind, in the order in which the window made them.
template <class T>
T& Control(const Lx::CWindow& v, size_t n) {
    std::vector<T*> todos;
    for (Lx::CControl* c : v.controls)
        if (auto* t = dynamic_cast<T*>(c)) todos.push_back(t);
    return *todos.at(n);
}

inline void Pulsar(Lx::CWindow& v, const std::string& boton) {
    for (Lx::CControl* c : v.controls) {
        const auto* b = dynamic_cast<Lx::CButton*>(c);
        if (b != nullptr && b->visible && b->text == boton) {
            Falso::Clic(v, b->rect.x + 5, b->rect.y + 5);
            return;
        }
    }
    ADD_FAILURE() << "no button " << boton;
}

// A certificate that is fit to sign with.
inline Entrada Apta(Origen origen, const std::string& cn, const std::string& emisor = "CA") {
    Entrada e{origen, "", origen == Origen::Dnie ? "lector" : "", Apoyo::IdentidadComun().certificado, true};
    e.cert.subjectCN = e.cert.serial = cn;
    e.cert.issuerCN = emisor;
    e.cert.contentCommitment = true;
    return e;
}

// On the window's thread, from a job's.
inline void EnVentana(const std::function<void()>& hacer) {
    std::promise<void> hecho;
    Lx::LxApp::s_pApp->backend->Post([&] {
        hacer();
        hecho.set_value();
    });
    hecho.get_future().wait();
}

class Ventanas : public testing::Test {
  protected:
    Ventanas() {
        g_fuentes = {};
        setenv("XDG_STATE_HOME", (carpeta_ / "estado").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (carpeta_ / "config").c_str(), 1);
        CMainWindow::PonerTemaElegido();
        Falso::ElMundo().ocupado = [] { return CTarea::Hilos() > 0; };
        Falso::ElMundo().abrirPaginas = [this](const std::string& ruta, Lx::Pdf::OnOpened abierto) {
            Lx::Pdf::Opened estado{Lx::Pdf::Outcome::Good, "motivo", paginas_, {}};
            if (paginas_ == 0) estado.outcome = Lx::Pdf::Outcome::Damaged;
            auto hojas = std::make_unique<Falso::Hojas>(estado, std::move(abierto));
            hojas->medida = {595, 842};
            hojas_ = hojas.get();
            pedida_ = ruta;
            return hojas;
        };
    }
    ~Ventanas() override { Falso::ElMundo().abrirPaginas = nullptr; }
    // A main window with a document of so many pages; 0: one that can't be opened.
    CMainWindow& Abrir(int paginas, const CCambiosDisco::Marca& marca = {}) {
        paginas_ = paginas;
        ventana_ = std::make_unique<CMainWindow>();
        ventana_->PonerDocumentoInicial(ruta_);
        ventana_->PonerMarcaInicial(marca);
        ventana_->keepAppOnClose = true;  // another may follow
        EXPECT_TRUE(ventana_->Create());
        ventana_->HandleResize({900, 680});
        // The window is there before its document.
        Falso::Pintar(*ventana_);
        EXPECT_EQ(Control<Lx::CLabel>(*ventana_, 1).text, "");
        hojas_->Abrir();
        EXPECT_NE(Estado(), "");
        return *ventana_;
    }
    // Until the first page is seen, and what is done then has ended.
    void Ver() {
        for (int i = 0; i < 3; ++i) {
            Falso::Pintar(*ventana_);
            hojas_->ContestarTodo();
            Falso::HacerTareas();
        }
        Quieto();
    }
    // Until no job is left, and what each said has been heard.
    static void Quieto() {
        Falso::HastaQue([] { return CTarea::Hilos() == 0; });
        Falso::HastaQue([vueltas = 0]() mutable { return ++vueltas > 2; });
    }
    [[nodiscard]] const std::string& Estado() const { return Control<Lx::CLabel>(*ventana_, 1).text; }
    [[nodiscard]] CAviso& Aviso() const { return Control<CAviso>(*ventana_, 0); }
    [[nodiscard]] std::string Dice() const { return Aviso().visible ? Aviso().Accessibility().name : ""; }
    // A dialog whose list is complete.
    std::unique_ptr<CDlgFirmar> Elegir(const Lx::CertStore::Contexto& ctx = {}) {
        auto d = std::make_unique<CDlgFirmar>(nullptr, Paleta::DelTema(), "doc.pdf", ctx, 9);
        EXPECT_TRUE(d->Create());
        Listo(*d);
        return d;
    }
    static void Listo(const CDlgFirmar& d) {
        Falso::HastaQue([&d] { return CTarea::Hilos() == 0 && Control<Lx::CButton>(d, 4).enabled; });
    }
    Falso::Aplicacion app_;
    Apoyo::CarpetaTemporal carpeta_;
    int paginas_ = 0;
    std::string ruta_ = "/a/doc.pdf", pedida_;
    Falso::Hojas* hojas_ = nullptr;  // of the document that was opened last
    std::unique_ptr<CMainWindow> ventana_;
};

}  // namespace PruebaApp
