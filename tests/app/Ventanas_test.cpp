// The windows' own logic, without a display, a card or a store.
#include <gmock/gmock.h>

#include <memory>

#include "app/DlgFirmar.h"
#include "app/MainWindow.h"
#include "app/PinDialog.h"
#include "app/AjusteTexto.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/certstore/FuentesFalsas.h"
#include "tests/ui/apoyo/Falso.h"
#include "ui/LxButton.h"
#include "ui/LxComboBox.h"
#include "ui/LxEdit.h"
#include "ui/LxLabel.h"
#include "ui/LxListView.h"

namespace Lx::CertStore {
void PonerPreguntaClave(PreguntaClave) {}
}  // namespace Lx::CertStore

namespace {

namespace Paleta = Orvanta::Paleta;
using Lx::KeyCode;
using Lx::CertStore::Entrada;
using Lx::CertStore::Origen;
using testing::ElementsAre;

struct Documento : Lx::Pdf::IDocument {
    explicit Documento(int n) : paginas(n) {}
    [[nodiscard]] int GetPageCount() const override { return paginas; }
    bool RenderPage(int, int width, Lx::Pdf::Raster& out, std::string&) override {
        out = {width, width, std::vector<unsigned char>(static_cast<size_t>(4 * width * width), 255)};
        return true;
    }
    int paginas;
};

// The n-th control of a kind, in the order in which the window made them.
template <class T>
T& Control(const Lx::CWindow& v, size_t n) {
    std::vector<T*> todos;
    for (Lx::CControl* c : v.controls)
        if (auto* t = dynamic_cast<T*>(c)) todos.push_back(t);
    return *todos.at(n);
}

class Ventanas : public testing::Test {
  protected:
    Ventanas() {
        setenv("PCSCLITE_CSOCK_NAME", "/noexiste", 1);
        g_fuentes = {};
        Falso::ElMundo().abrirPdf = [this](const std::string&, std::string& error) -> Lx::Pdf::IDocument* {
            error = "motivo";
            return paginas_ > 0 ? new Documento(paginas_) : nullptr;
        };
    }
    // A main window with a document of so many pages; 0: one that can't be opened.
    CMainWindow& Abrir(int paginas) {
        paginas_ = paginas;
        ventana_ = std::make_unique<CMainWindow>();
        ventana_->PonerDocumentoInicial("/a/doc.pdf");
        EXPECT_TRUE(ventana_->Create());
        ventana_->HandleResize({900, 680});
        // The window is there before its document.
        EXPECT_EQ(Control<Lx::CLabel>(*ventana_, 0).text, "");
        Falso::Pintar(*ventana_);
        EXPECT_EQ(Control<Lx::CLabel>(*ventana_, 0).text, "");
        Falso::HacerTareas();
        EXPECT_NE(Control<Lx::CLabel>(*ventana_, 0).text, "");
        return *ventana_;
    }
    int paginas_ = 0;
    Falso::Aplicacion app_;
    std::unique_ptr<CMainWindow> ventana_;
};

TEST_F(Ventanas, LaPaletaYSuCss) {
    std::string todos;
    for (const Lx::Color& c : Paleta::DelTema()) todos += Falso::Texto(c);
    EXPECT_EQ(todos,
              "#f5f7fbff#ffffffff#0d2b5eff#dfe4ecff#10203aff#cdd8ecff#ffffffff#101828ff#5a687eff#788498ff"
              "#c8d2e0ff#208c52ff#c63434ff#10203aff#ffffffff#1e3e74ff#be2e2eff#243046ff#c6d2e6ff");
    EXPECT_EQ(Paleta::Css({0, 0, 0, 7}, {255, 255, 255, 0}, {1, 171, 16, 9}, true, 12),
              "background-color:#000000; color:#ffffff; border-color:#01ab10; border-width:1; border-radius:6; "
              "font-weight-bold:true; font-size:12;");
}

TEST_F(Ventanas, IrAUnaHoja) {
    CMainWindow& v = Abrir(12);
    auto& hoja = Control<Lx::CEdit>(v, 0);
    const Apoyo::Filas<std::string, std::string> filas = {
        {"3", "3 / 12"},    {" +7 x", "7 / 12"}, {"0", "7 / 12"},      {"-3", "7 / 12"},  {"abc", "7 / 12"},
        {"999", "12 / 12"}, {"", "12 / 12"},     {"5 / 12", "5 / 12"}, {"+-2", "5 / 12"}, {"99999999999", "12 / 12"},
    };
    for (const auto& [escrito, queda] : filas) {
        SCOPED_TRACE(escrito);
        v.SetFocusControl(&hoja);
        hoja.SetText(escrito);
        Falso::Tecla(v, KeyCode::Enter);
        EXPECT_EQ(hoja.GetText(), queda);
    }
}

TEST_F(Ventanas, LosBotonesQueLlevanAAlgunSitio) {
    const Apoyo::Filas<int, int, std::string> filas = {
        {0, 0, "0000"}, {1, 0, "0000"}, {3, 0, "0011"}, {3, 1, "1111"}, {3, 2, "1100"},
    };
    for (const auto& [paginas, avances, activos] : filas) {
        SCOPED_TRACE(paginas);
        CMainWindow& v = Abrir(paginas);
        for (int i = 0; i < avances; ++i) Falso::Clic(v, 900 - 106 + 5, 60);
        std::string estado;
        for (size_t i = 2; i < 6; ++i) estado += Control<Lx::CButton>(v, i).enabled ? "1" : "0";
        EXPECT_EQ(estado, activos);
        // The button that was clicked has the focus; the keys still turn pages.
        Falso::Tecla(v, KeyCode::Home);
        EXPECT_EQ(Control<Lx::CEdit>(v, 0).GetText(), paginas > 0 ? "1 / " + std::to_string(paginas) : "0 / 0");
    }
}

TEST_F(Ventanas, LaLineaDeEstado) {
    CMainWindow& v = Abrir(0);
    auto& estado = Control<Lx::CLabel>(v, 0);
    EXPECT_EQ(estado.text, "Error al abrir /a/doc.pdf: motivo");
    EXPECT_EQ(estado.textColor, Paleta::DelTema()[Paleta::kError]);
    v.MostrarEstado("algo", false);
    EXPECT_EQ(estado.text, "algo");
    v.OnFirmar();
    EXPECT_EQ(estado.text, "No hay ningun documento abierto.");
    paginas_ = 1;
    v.OnDropFile("/b/otro.pdf");
    v.MostrarEstado("algo", false);
    EXPECT_EQ(estado.text, "/b/otro.pdf");
    EXPECT_EQ(estado.textColor, Lx::ThemeColor(Lx::ColorRole::AppOnFooter));
    auto& aviso = Control<CAviso>(v, 0);
    v.MostrarEstado(std::string(80, 'a') + " " + std::string(80, 'b'), true);
    EXPECT_TRUE(aviso.visible);
    EXPECT_THAT(Falso::Pintar(aviso), testing::Contains(testing::HasSubstr("\"" + std::string(80, 'b') + "\"")));
    Falso::Tecla(v, KeyCode::Escape);
    EXPECT_FALSE(aviso.visible);
}

TEST_F(Ventanas, LasFilasDelDialogo) {
    const auto entrada = [](Origen origen, const std::string& cn, const std::string& emisor, bool clave) {
        Entrada e{origen, "", "lector", {}, clave};
        e.cert.subjectCN = cn;
        e.cert.issuerDN = e.cert.serial = cn + emisor;  // a key of its own, or it is taken for a duplicate
        e.cert.issuerCN = emisor;
        return e;
    };
    std::string n44, n43;
    for (int i = 0; i < 44; ++i) n44 += "ñ";
    n43 = n44.substr(2);
    g_fuentes.almacen = {entrada(Origen::Dnie, "Ana", "", false), entrada(Origen::Sistema, "", n44, true),
                         entrada(Origen::Pkcs12, "P", n44 + "ñ", true), entrada(Origen::Pkcs12, "Q", "e", false)};
    CDlgFirmar d(nullptr, Paleta::DelTema(), "doc.pdf", {});
    ASSERT_TRUE(d.Create());
    auto& lista = Control<Lx::CListView>(d, 0);
    ASSERT_EQ(lista.GetCount(), 4);
    EXPECT_EQ(lista.GetSelected(), 0);
    EXPECT_EQ(d.Contexto().lector, "lector");
    const std::string sin = g_fuentes.almacen[0].cert.FechaVencimiento();
    EXPECT_THAT(lista.GetItem(0), ElementsAre("Ana", "DNIe", "Ana", sin, "en la tarjeta (DNIe)"));
    EXPECT_THAT(lista.GetItem(1), ElementsAre("Certificado", "NSS (Linux)", n44, sin, "lista"));
    EXPECT_THAT(lista.GetItem(2), ElementsAre("P", "PKCS#12", n43 + ".", sin, "del fichero"));
    EXPECT_EQ(lista.GetItem(3)[4], "sin clave");
    d.OnLista(2);
    EXPECT_EQ(d.Contexto().lector, "");
    EXPECT_EQ(d.Seleccion().cert.subjectCN, "P");
    d.OnLista(4);
    EXPECT_FALSE(d.HaySeleccion());
    EXPECT_FALSE(Control<Lx::CButton>(d, 1).enabled);
    d.SetFocusControl(nullptr);
    Falso::Tecla(d, KeyCode::Enter);
    EXPECT_FALSE(d.done);
    EXPECT_EQ(Control<Lx::CLabel>(d, 1).text, "Elige un certificado de la lista.");
    Falso::Tecla(d, KeyCode::Escape);
    EXPECT_EQ(d.result, 2);
}

TEST_F(Ventanas, ElSelloYSusPaginas) {
    CDlgFirmar d(nullptr, Paleta::DelTema(), "doc.pdf", {});
    ASSERT_TRUE(d.Create());
    auto& paginas = Control<Lx::CEdit>(d, 0);
    EXPECT_EQ(d.ModoSello(), 1U);
    for (const auto& [indice, modo] :
         Apoyo::Filas<int, unsigned>{{0, 1}, {1, 3}, {2, 2}, {3, 4}, {4, 0}, {5, 1}, {-1, 1}}) {
        SCOPED_TRACE(indice);
        d.OnSelSello(indice);
        EXPECT_EQ(d.ModoSello(), modo);
        EXPECT_EQ(paginas.enabled, modo == 4);
    }
    d.OnSelSello(3);
    EXPECT_EQ(d.focus, &paginas);
    Falso::Teclear(d, "2-4");
    Falso::Tecla(d, KeyCode::Enter);
    EXPECT_FALSE(d.done);
    EXPECT_EQ(d.Paginas(), "2-4");
    d.OnSelSello(1);
    EXPECT_EQ(d.Paginas(), "");
}

// Each row is one dialog: what it opens with, what is pressed, and how it ends.
TEST_F(Ventanas, ElPin) {
    const std::string vacio = "Por favor, introduce el PIN del DNIe.";
    const std::string ultimo = "Queda 1 intento: si el PIN no es correcto, el DNIe se bloquea.";
    const std::string otra = "Es el último intento: pulsa Aceptar otra vez para usarlo.";
    struct Caso {
        int intentos;
        bool rechazado;
        std::string abre;
        std::string teclas;  // "\r" Enter, "\x1b" Escape
        std::string acaba;   // the message
        int resultado;       // 0: still open
        std::string pin;
    };
    const std::vector<Caso> casos = {
        {3, false, "Quedan 3 intentos.", "\r", vacio, 0, ""},
        {2, true, "PIN incorrecto. Quedan 2 intentos.", "1234\r", "Quedan", 1, "1234"},
        {-1, false, "", "12\x1b", "", 2, ""},
        {0, false, "El PIN del DNIe está bloqueado.", "\x1b", "", 2, ""},
        {1, false, ultimo, "1\r", otra, 0, ""},
        {1, false, ultimo, "1\r\r", otra, 1, "1"},
        {1, false, ultimo, "1\r2", ultimo, 0, ""},
        {1, true, ultimo, "1\r2\r", otra, 0, ""},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.abre + c.teclas);
        std::string pin;
        CPinDialog d(nullptr, Paleta::DelTema(), "", pin);
        d.PonerIntentos(c.intentos, c.rechazado);
        ASSERT_TRUE(d.Create());
        EXPECT_EQ(Control<Lx::CLabel>(d, 1).text, "Titular: (DNIe detectado)");
        const std::string& mensaje = Control<Lx::CLabel>(d, 3).text;
        EXPECT_EQ(mensaje, c.abre);
        for (const char t : c.teclas) {
            if (t == '\r' || t == '\x1b')
                Falso::Tecla(d, t == '\r' ? KeyCode::Enter : KeyCode::Escape);
            else
                Falso::Teclear(d, std::string(1, t));
        }
        EXPECT_THAT(mensaje, testing::HasSubstr(c.acaba));
        EXPECT_EQ(d.done, c.resultado != 0);
        EXPECT_EQ(d.result, c.resultado);
        EXPECT_EQ(pin, c.pin);
    }
}

TEST(Texto, EnLineas) {
    const Falso::Aplicacion app;  // 7 pixels per character
    const Apoyo::Filas<std::string, int, std::string> filas = {
        {"", 49, ""},
        {"uno dos tres", 49, "uno dos\ntres"},
        {"/muy/largo/y/sin/blancos ñññ", 42, "/muy/l\nargo/y\n/sin/b\nlancos\nñññ"},
        {"ñab", -1, "ñ\na\nb"},
    };
    for (const auto& [texto, ancho, lineas] : filas) EXPECT_EQ(Orvanta::EnLineas(texto, 11, ancho), lineas);
}

}  // namespace
