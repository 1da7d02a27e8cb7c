// The windows' own logic, without a display, a card or a store.
#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "app/AjusteTexto.h"
#include "app/DiagnosticoDialog.h"
#include "app/DlgFirmar.h"
#include "app/Etapas.h"
#include "app/MainWindow.h"
#include "app/PinDialog.h"
#include "tests/apoyo/Apoyo.h"
#include "tests/app/Fuentes.h"
#include "tests/ui/apoyo/Falso.h"
#include "ui/LxButton.h"
#include "ui/LxComboBox.h"
#include "ui/LxEdit.h"
#include "ui/LxLabel.h"
#include "ui/LxListView.h"

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

void Pulsar(Lx::CWindow& v, const std::string& boton) {
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
Entrada Apta(Origen origen, const std::string& cn, const std::string& emisor = "CA") {
    Entrada e{origen, "", origen == Origen::Dnie ? "lector" : "", Apoyo::IdentidadComun().certificado, true};
    e.cert.subjectCN = e.cert.serial = cn;
    e.cert.issuerCN = emisor;
    e.cert.contentCommitment = true;
    return e;
}

// On the window's thread, from a job's.
void EnVentana(const std::function<void()>& hacer) {
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
        Falso::ElMundo().ocupado = [] { return CTarea::Hilos() > 0; };
        Falso::ElMundo().abrirPdf = [this](const std::string&, std::string& error) -> Lx::Pdf::IDocument* {
            error = "motivo";
            return paginas_ > 0 ? new Documento(paginas_) : nullptr;
        };
    }
    // A main window with a document of so many pages; 0: one that can't be opened.
    CMainWindow& Abrir(int paginas) {
        paginas_ = paginas;
        ventana_ = std::make_unique<CMainWindow>();
        ventana_->PonerDocumentoInicial(ruta_);
        ventana_->keepAppOnClose = true;  // another may follow
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
    int paginas_ = 0;
    std::string ruta_ = "/a/doc.pdf";
    Falso::Aplicacion app_;
    std::unique_ptr<CMainWindow> ventana_;
};

TEST_F(Ventanas, IrAUnaHoja) {
    CMainWindow& v = Abrir(12);
    auto& hoja = Control<Lx::CEdit>(v, 0);
    const Apoyo::Filas<std::string, std::string> filas = {
        {" +7 x", "7 / 12"}, {"0", "7 / 12"},      {"-3", "7 / 12"},
        {"", "7 / 12"},      {"5 / 12", "5 / 12"}, {"99999999999", "12 / 12"},
    };
    for (const auto& [escrito, queda] : filas) {
        SCOPED_TRACE(escrito);
        v.SetFocusControl(&hoja);
        hoja.SetText(escrito);
        Falso::Tecla(v, KeyCode::Enter);
        EXPECT_EQ(hoja.GetText(), queda);
    }
}

TEST_F(Ventanas, LaLineaDeEstado) {
    CMainWindow& v = Abrir(0);
    auto& estado = Control<Lx::CLabel>(v, 0);
    EXPECT_EQ(estado.text, "Error al abrir /a/doc.pdf: motivo");
    EXPECT_EQ(estado.textColor, Lx::ThemeColor(Lx::ColorRole::AppErrorOnFooter));
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
    std::string n43;
    while (n43.size() < 86) n43 += "ñ";
    const std::string n44 = n43 + "ñ";
    Entrada vieja = Apta(Origen::Dnie, "Vieja"), sinClave = Apta(Origen::Pkcs12, "Q"), otra = Apta(Origen::Sistema, "");
    vieja.cert.notAfter = 86400;
    sinClave.conClave = false;
    otra.cert.issuerCN = n44;
    g_fuentes.entradas = {vieja, otra, sinClave, Apta(Origen::Pkcs12, "P", n44 + "ñ"), Apta(Origen::Dnie, "Ana", "")};
    g_fuentes.entradas[4].cert.issuerDN = "DN";
    const auto d = Elegir();
    auto& lista = Control<Lx::CListView>(*d, 0);
    const std::string vence = otra.cert.FechaVencimiento();
    const std::vector<std::vector<std::string>> filas = {
        {"Certificado", "almacén", n44, vence, "lista"},
        {"P", "PKCS#12", n43 + ".", vence, "del fichero"},
        {"Ana", "DNIe", "DN", vence, "en la tarjeta (DNIe)"},
        {"Vieja", "DNIe", "CA", vieja.cert.FechaVencimiento(), "caducado"},
        {"Q", "PKCS#12", "CA", vence, "sin clave"},
    };
    ASSERT_EQ(lista.GetCount(), static_cast<int>(filas.size()));
    for (size_t i = 0; i < filas.size(); ++i) {
        EXPECT_EQ(lista.GetItem(static_cast<int>(i)), filas[i]);
        EXPECT_EQ(lista.Accessibility().items[i].description.empty(), i < 3);
    }
    EXPECT_THAT(lista.Accessibility().items[3].description, testing::HasSubstr("Vieja caducó el"));
    EXPECT_EQ(lista.GetSelected(), 0);
    EXPECT_EQ(Control<Lx::CLabel>(*d, 1).text, "resumen  |  5 certificado(s).");
    d->SetFocusControl(&lista);
    for (const char* lector : {"", "lector"}) {
        Falso::Tecla(*d, KeyCode::Down);
        EXPECT_EQ(d->Contexto().lector, lector);
    }
    EXPECT_EQ(d->Seleccion().cert.subjectCN, "Ana");
    d->OnLista(5);
    d->SetFocusControl(nullptr);
    Falso::Tecla(*d, KeyCode::Enter);
    EXPECT_FALSE(d->done || d->HaySeleccion() || Control<Lx::CButton>(*d, 2).enabled);
    EXPECT_EQ(Control<Lx::CLabel>(*d, 1).text, "Elige un certificado de la lista.");
}

// Nothing is chosen by itself, and what can be accepted is asked once.
TEST_F(Ventanas, SoloHayCertificadosNoAptos) {
    const Apoyo::Filas<std::function<void(Entrada&)>, bool> casos = {
        {[](Entrada& e) { e.cert.notAfter = 86400; }, true}, {[](Entrada& e) { e.conClave = false; }, false}};
    for (const auto& [estropear, salvable] : casos) {
        SCOPED_TRACE(salvable);
        g_fuentes.entradas = {Apta(Origen::Sistema, "Ana")};
        estropear(g_fuentes.entradas[0]);
        const auto d = Elegir();
        auto& lista = Control<Lx::CListView>(*d, 0);
        EXPECT_EQ(lista.GetSelected(), -1);
        EXPECT_FALSE(Control<Lx::CButton>(*d, 2).enabled);
        d->SetFocusControl(&lista);
        Falso::Tecla(*d, KeyCode::Down);
        EXPECT_EQ(Control<Lx::CButton>(*d, 2).enabled, salvable);
        // Enter in haste says no.
        for (const bool si : {false, true}) {
            if (salvable)
                Falso::ElMundo().guion.push_back([si] {
                    si ? Pulsar(Falso::Arriba(), "Firmar con él")
                       : static_cast<void>(Falso::Tecla(Falso::Arriba(), KeyCode::Enter));
                });
            Falso::Tecla(*d, KeyCode::Enter);
            EXPECT_EQ(d->done, si && salvable);
        }
        EXPECT_EQ(d->Aunque().size(), 1U);
        if (!salvable) {
            EXPECT_THAT(Control<Lx::CLabel>(*d, 1).text, testing::HasSubstr("Ana"));
        }
    }
}

TEST_F(Ventanas, LaListaSeRehace) {
    Lx::CertStore::Contexto visto;
    bool tarjeta = false;
    g_fuentes.alListar = [&](const auto& ctx, bool sola, Lx::Control&) {
        visto = ctx;
        tarjeta = sola;
    };
    g_fuentes.entradas = {Apta(Origen::Dnie, "Ana"), Apta(Origen::Sistema, "Berta"), Apta(Origen::Pkcs12, "Eva")};
    EXPECT_EQ(Elegir({"otro", "1234", "", ""})->Contexto().pin, "") << "another reader's";
    const auto d = Elegir({"lector", "1234", "", ""});
    auto& lista = Control<Lx::CListView>(*d, 0);
    EXPECT_EQ(visto.pin, "1234");
    // A card that goes takes no choice away, and one that comes makes none.
    for (const auto& [fila, cambio, queda] : Apoyo::Filas<int, std::function<void()>, std::string>{
             {1, [] { g_fuentes.entradas.erase(g_fuentes.entradas.begin()); }, "Berta"},
             {0, [] { g_fuentes.entradas.insert(g_fuentes.entradas.begin(), Apta(Origen::Dnie, "Ana")); }, "Berta"},
             {0, [] { g_fuentes.entradas.erase(g_fuentes.entradas.begin()); }, ""},
             {-1, [] {}, "Berta"},
         }) {
        SCOPED_TRACE(fila);
        if (fila >= 0) d->OnLista(fila);
        cambio();
        g_fuentes.tarjeta();
        Falso::HastaQue([&] { return tarjeta; });
        Listo(*d);
        tarjeta = false;
        EXPECT_EQ(d->HaySeleccion() ? d->Seleccion().cert.subjectCN : "", queda);
        EXPECT_EQ(Control<Lx::CButton>(*d, 2).enabled, !queda.empty());
    }
    // What stands in the edits counts without Enter; with it the file's certificate is meant.
    auto& ruta = Control<Lx::CEdit>(*d, 1);
    d->SetFocusControl(&ruta);
    Falso::Teclear(*d, "/id.p12");
    visto.pin = "se fue";
    Pulsar(*d, "Actualizar lista");
    EXPECT_EQ(lista.GetCount(), 0);
    Listo(*d);
    EXPECT_EQ(visto.rutaPkcs12, "/id.p12");
    EXPECT_EQ(visto.pin, "");
    EXPECT_EQ(lista.GetSelected(), 0);
    d->SetFocusControl(&Control<Lx::CEdit>(*d, 2));
    Falso::Teclear(*d, "clave");
    Falso::Tecla(*d, KeyCode::Enter);
    Listo(*d);
    EXPECT_EQ(visto.clavePkcs12, "clave");
    EXPECT_EQ(d->Seleccion().cert.subjectCN, "Eva");
    // Of two listings the later one counts, whichever ends first.
    std::promise<void> dentro, soltar;
    g_fuentes.alListar = [&](const auto&, bool, Lx::Control&) {
        dentro.set_value();
        soltar.get_future().wait();
    };
    Pulsar(*d, "Actualizar lista");
    dentro.get_future().wait();
    std::atomic<bool> sola = false;
    g_fuentes.alListar = [&](const auto&, bool soloTarjeta, Lx::Control&) {
        sola = soloTarjeta;
        // A card that comes while all is listed is read afterwards.
        if (!soloTarjeta) EnVentana(g_fuentes.tarjeta), EnVentana([] {});
    };
    d->Recargar();
    Falso::HastaQue([&] { return sola && lista.GetCount() == 2; });
    g_fuentes.entradas.clear();
    soltar.set_value();
    Listo(*d);
    EXPECT_EQ(lista.GetCount(), 2);
    // Without a card no reader is kept.
    EXPECT_EQ(Elegir({"lector", "", "", ""})->Contexto().lector, "");
}

TEST_F(Ventanas, ElDialogoSeCierraMientrasLista) {
    g_fuentes.alListar = [](const auto&, bool, Lx::Control& control) {
        control.Pasar(Lx::Etapa::Tarjeta);
        EnVentana([] {
            Falso::HacerTareas();
            auto& d = Falso::Arriba();
            EXPECT_EQ(Control<CAviso>(d, 0).Accessibility().name, "Leyendo la tarjeta…");
            Falso::Tecla(d, KeyCode::Escape);
        });
        while (!control.Cancelado()) {
        }
    };
    CDlgFirmar d(nullptr, Paleta::DelTema(), "doc.pdf", {});
    EXPECT_EQ(d.DoModal(), Lx::kCancelled);
    Falso::HastaQue([] { return CTarea::Hilos() == 0; });
}

TEST_F(Ventanas, ElSelloYSusPaginas) {
    g_fuentes.entradas = {Apta(Origen::Sistema, "Ana")};
    const auto d = Elegir();
    auto& paginas = Control<Lx::CEdit>(*d, 0);
    const std::string& frase = Control<Lx::CLabel>(*d, 4).text;
    const std::string error = Falso::Texto(Paleta::DelTema()[Paleta::kError]);
    for (const int indice : {0, 1, 2, 4, 3}) {
        d->OnSelSello(indice);
        EXPECT_EQ(paginas.enabled, indice == 3);
    }
    EXPECT_EQ(d->focus, &paginas);
    EXPECT_THAT(Falso::Pintar(paginas), testing::Not(testing::Contains(testing::HasSubstr(error)))) << "not yet";
    // The document has nine pages.
    for (const auto& [escrito, dice, sirve] : Apoyo::Filas<std::string, std::string, bool>{
             {"99", "La página 99 no existe", false}, {"2-4", "3 paginas", true}, {"x", "no es una página", false}}) {
        SCOPED_TRACE(escrito);
        paginas.SelectAll();
        Falso::Teclear(*d, escrito);
        EXPECT_THAT(frase, testing::HasSubstr(dice));
        EXPECT_EQ(Control<Lx::CButton>(*d, 2).enabled, sirve);
        EXPECT_THAT(Falso::Pintar(paginas), testing::Contains(testing::HasSubstr(sirve ? "DrawText" : error)));
        Falso::Tecla(*d, KeyCode::Enter);  // takes the list
        EXPECT_EQ(d->Paginas(), escrito);
        for (Lx::CControl* foco :
             {static_cast<Lx::CControl*>(&Control<Lx::CListView>(*d, 0)), static_cast<Lx::CControl*>(nullptr)}) {
            d->SetFocusControl(sirve ? &paginas : foco);
            Falso::Tecla(*d, KeyCode::Enter);
            EXPECT_FALSE(d->done);
            EXPECT_EQ(d->focus, &paginas);
        }
    }
    d->OnSelSello(1);
    EXPECT_EQ(frase, "");
    EXPECT_TRUE(Control<Lx::CButton>(*d, 2).enabled);
    d->OnSelSello(3);
    paginas.SelectAll();
    Falso::Teclear(*d, "2-4, 7");
    Pulsar(*d, "Firmar");
    EXPECT_EQ(d->result, Lx::kAccepted);
    EXPECT_EQ(d->Paginas(), "2-4, 7");
    d->OnSelSello(1);
    EXPECT_EQ(d->Paginas(), "");
}

// Enter presses the button that has the focus, and nothing else.
TEST_F(Ventanas, IntroEnUnBoton) {
    g_fuentes.entradas = {Apta(Origen::Sistema, "Ana")};
    for (const auto& [boton, resultado] : Apoyo::Filas<size_t, int>{{0, 0}, {2, Lx::kAccepted}, {3, Lx::kCancelled}}) {
        const auto d = Elegir();
        d->SetFocusControl(&Control<Lx::CButton>(*d, boton));
        Falso::Tecla(*d, KeyCode::Enter);
        EXPECT_EQ(d->result, resultado);
        Listo(*d);
    }
}

// What is wrong with the file is said at the edit where it is put right.
TEST_F(Ventanas, LaClaveDelFichero) {
    using Lx::Motivo;
    const auto d = Elegir();
    const std::string error = Falso::Texto(Paleta::DelTema()[Paleta::kError]);
    auto &ruta = Control<Lx::CEdit>(*d, 1), &clave = Control<Lx::CEdit>(*d, 2);
    ruta.SetText("/a/id.p12");
    for (const auto& [motivo, escrita, mala, dice] : Apoyo::Filas<Motivo, std::string, Lx::CEdit*, std::string>{
             {Motivo::Pkcs12NoAbre, "", &clave, "Falta la contraseña de id.p12"},
             {Motivo::Pkcs12NoAbre, "uno", &clave, "La contraseña no abre id.p12"},
             {Motivo::Pkcs12NoExiste, "", &ruta, "No existe. Comprueba la ruta"},
             {Motivo::Ninguno, "dos", nullptr, ""},
         }) {
        SCOPED_TRACE(dice + escrita);
        g_fuentes.fuentes = {{}};
        g_fuentes.fuentes[0].origen = Origen::Pkcs12;
        g_fuentes.fuentes[0].fallo = {motivo, "no existe"};
        d->SetFocusControl(&clave);
        clave.SelectAll();
        Falso::Teclear(*d, escrita);
        Falso::Tecla(*d, KeyCode::Enter);
        Listo(*d);
        EXPECT_EQ(d->focus, mala == nullptr ? &clave : mala);
        for (Lx::CEdit* e : {&ruta, &clave})
            EXPECT_EQ(testing::Value(Falso::Pintar(*e), testing::Contains(testing::HasSubstr(error))), e == mala);
        EXPECT_THAT(Control<Lx::CLabel>(*d, 8).text, testing::StartsWith(dice));
    }
    // The next key replaces the wrong one.
    g_fuentes.fuentes[0].fallo.motivo = Motivo::Pkcs12NoAbre;
    Falso::Tecla(*d, KeyCode::Enter);
    Listo(*d);
    Falso::Teclear(*d, "z");
    EXPECT_EQ(clave.GetText(), "z");
    EXPECT_EQ(Control<Lx::CLabel>(*d, 8).text, "");
}

TEST_F(Ventanas, DondeSeGuarda) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string doc = carpeta / "a.pdf", hay = carpeta / "hay.pdf", sin = "/proc/no/puede.pdf";
    for (const std::string& ruta : {doc, hay}) Apoyo::EscribirFichero(ruta, "");
    g_fuentes.entradas = {Apta(Origen::Sistema, "Ana")};
    CDlgFirmar d(nullptr, Paleta::DelTema(), doc, {}, 1);
    d.PonerCarpeta("/otra");
    ASSERT_TRUE(d.Create());
    Listo(d);
    const std::string& dice = Control<Lx::CLabel>(d, 6).text;
    EXPECT_EQ(dice, "Se guardará como a_firmao.pdf\nen " + Orvanta::ConFinal(carpeta.Ruta(), 44));
    std::string ofrece = "/otra/a_firmao.pdf";
    // What is chosen, where the copy then goes, whether something is replaced, and whether that will do.
    for (const auto& [elegido, salida, reemplaza, vale] : Apoyo::Filas<std::string, std::string, bool, bool>{
             {"", "", false, true},
             {carpeta / "b.pdf", carpeta / "b.pdf", false, true},
             {hay, hay, true, true},
             {carpeta / "hay", hay, false, false},  // nobody was asked about hay.pdf
             {doc, doc, true, false},
             {sin, sin, false, false},
             {carpeta / "c", carpeta / "c.pdf", false, true},
         }) {
        SCOPED_TRACE(elegido);
        Falso::ElMundo().elegirFichero = [&, elegido = elegido](const Lx::FileDialogRequest& r, std::string& ruta) {
            EXPECT_TRUE(r.save);
            EXPECT_EQ(r.initialPath, ofrece);
            ruta = elegido;
            return !elegido.empty();
        };
        Pulsar(d, "Guardar como…");
        EXPECT_EQ(d.Salida(), salida);
        EXPECT_EQ(d.Reemplazar(), reemplaza);
        EXPECT_EQ(Control<Lx::CButton>(d, 2).enabled, vale);
        EXPECT_EQ(d.Carpeta(), elegido.empty() ? "/otra" : carpeta.Ruta());
        if (!salida.empty()) ofrece = salida;
    }
}

// Each examination shows what it found; a card that comes begins another.
TEST_F(Ventanas, ElDiagnosticoVaConLaTarjeta) {
    Lx::Dnie::Diagnostico& da = g_fuentes.diagnostico;
    da.pasos = {{"servicio", true, true, "en marcha", "", {}},
                {"lectores", true, false, "ninguno", "conecta un lector", Lx::Motivo::SinLector},
                {"firma", false, false, "", "", {}}};
    CDiagnosticoDialog d(nullptr, Paleta::DelTema());
    ASSERT_TRUE(d.Create());
    const auto textos = [&d] {
        std::string todo;
        for (size_t i = 0; i < 11; ++i) todo += Control<Lx::CLabel>(d, i).text + "|";
        return todo;
    };
    Falso::HastaQue([] { return CTarea::Hilos() == 0; });
    EXPECT_THAT(textos(), testing::StartsWith("Todavía no se puede firmar con tarjeta.|bien|Servicio de tarjetas|En "
                                              "marcha.|falla|Lector de tarjetas|Ninguno.\nQué hacer: Conecta un "
                                              "lector.|sin probar|Firma||"));
    Pulsar(d, "Copiar");
    EXPECT_THAT(Falso::ElMundo().portapapeles, testing::HasSubstr("lectores        FALLA ninguno"));
    da.pasos[1] = {"lectores", true, true, "uno", "", {}};
    da.puedeFirmar = true;
    da.certificados = {{"", Apta(Origen::Dnie, "Ana").cert, "", true}};
    g_fuentes.tarjeta();
    Falso::HastaQue([&] { return textos().starts_with("Se puede firmar"); });
    EXPECT_THAT(textos(), testing::HasSubstr("|bien|Lector de tarjetas|Uno.|"));
    Falso::Tecla(d, KeyCode::Escape);
    EXPECT_TRUE(d.done);
}

TEST_F(Ventanas, MientrasFirma) {
    const Apoyo::CarpetaTemporal carpeta;
    ruta_ = carpeta / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, "x");
    g_fuentes.entradas = {Apta(Origen::Dnie, "Ana")};
    const auto cerrar = [](CMainWindow& v, const std::string& respuesta) {
        if (!respuesta.empty()) Lx::LxApp::s_pApp->backend->Post([respuesta] { Pulsar(Falso::Arriba(), respuesta); });
        v.Close();
    };
    using Accion = std::function<void(CMainWindow&)>;
    const Apoyo::Filas<bool, Accion, bool, bool> casos = {
        {false, [](CMainWindow& v) { Falso::Tecla(v, KeyCode::Escape); }, true, false},
        {false, [](CMainWindow& v) { Pulsar(v, "Cancelar"); }, true, false},
        {false, [&](CMainWindow& v) { cerrar(v, ""); }, true, true},
        {false, [](CMainWindow& v) { v.Terminar([] { ADD_FAILURE(); }); }, true, true},
        {true, [&](CMainWindow& v) { cerrar(v, "Seguir abierto"); }, false, false},
        {true, [&](CMainWindow& v) { cerrar(v, "Cerrar al acabar"); }, false, true},
        {true,
         [](CMainWindow& v) {
             v.Terminar([] { ADD_FAILURE(); });
             Falso::HacerTareas();
         },
         false, true},
    };
    int caso = 0;
    for (const auto& [enUso, accion, cancela, cierra] : casos) {
        SCOPED_TRACE(caso++);
        CMainWindow& v = Abrir(3);
        g_fuentes.alConsultar = [&, enUso = enUso, accion = accion, cancela = cancela](Lx::Control& control) {
            control.Pasar(Lx::Etapa::Copia, 100);
            control.Avanzar(62);
            if (enUso) static_cast<void>(control.Comprometer());
            EnVentana([&] {
                Falso::HacerTareas();
                const auto& aviso = Control<CAviso>(v, 0);
                EXPECT_EQ(aviso.Accessibility().name, "Firmando 62 %");
                EXPECT_THAT(Falso::Pintar(v), testing::Contains(testing::HasSubstr("\"Firmando 62 %\"")));
                // The pages turn, another document is not opened, and no other signature begins.
                Falso::Tecla(v, KeyCode::PageDown);
                EXPECT_EQ(Control<Lx::CEdit>(v, 0).GetText(), "2 / 3");
                Falso::Clic(v, aviso.rect.x + 5, aviso.rect.y + 5);
                EXPECT_TRUE(aviso.visible);
                v.OnDropFile("/otro.pdf");
                Pulsar(v, "Firmar");
                EXPECT_THAT(aviso.Accessibility().name, testing::HasSubstr("Ya hay una firma en marcha"));
                accion(v);
            });
            EXPECT_EQ(control.Cancelado(), cancela);
            control.Soltar();
            // What was asked for while the key was in use counts now.
            if (!control.Cancelado()) control.Cancelar();
        };
        Falso::ElMundo().guion.push_back([] { Falso::Tecla(Falso::Arriba(), KeyCode::Enter); });
        Pulsar(v, "Firmar");
        EXPECT_EQ(Control<Lx::CLabel>(v, 0).text, ruta_);
        EXPECT_EQ(Control<CAviso>(v, 0).Accessibility().name, "Firma cancelada por el usuario.");
        EXPECT_EQ(Falso::De(v).cerrada, cierra);
        Falso::HastaQue([] { return CTarea::Hilos() == 0; });
    }
}

// The program is told to end while a device doesn't answer.
TEST_F(Ventanas, ElFinNoEspera) {
    const Apoyo::CarpetaTemporal carpeta;
    ruta_ = carpeta / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, "x");
    g_fuentes.entradas = {Apta(Origen::Dnie, "Ana")};
    CMainWindow& v = Abrir(1);
    std::promise<void> soltar;
    g_fuentes.alConsultar = [&](Lx::Control&) {
        EnVentana([&] {
            Falso::ElMundo().tareas.clear();
            v.Terminar([] { ADD_FAILURE(); });
            Falso::HacerTareas();
        });
        soltar.get_future().wait();
    };
    Falso::ElMundo().guion.push_back([] { Falso::Tecla(Falso::Arriba(), KeyCode::Enter); });
    Pulsar(v, "Firmar");
    EXPECT_TRUE(Falso::De(v).cerrada);
    EXPECT_FALSE(Control<CAviso>(v, 0).visible) << "there is no result";
    EXPECT_EQ(CTarea::Hilos(), 1);
    soltar.set_value();
    Falso::HastaQue([] { return CTarea::Hilos() == 0; });
    CMainWindow& ultima = Abrir(1);
    g_fuentes.alConsultar = [](Lx::Control& control) {
        EnVentana([] { Lx::LxApp::s_pApp->Quit(0); });
        while (!control.Cancelado()) {
        }
    };
    Falso::ElMundo().guion.push_back([] { Falso::Tecla(Falso::Arriba(), KeyCode::Enter); });
    Pulsar(ultima, "Firmar");
    EXPECT_FALSE(Control<CAviso>(ultima, 0).visible);
    Falso::HastaQue([] { return CTarea::Hilos() == 0; });
}

// What is sent to a window that is no more is not done, and nobody waits for it.
TEST_F(Ventanas, ElCorreoSeCierra) {
    const auto correo = std::make_shared<Correo>();
    bool hecho = false, contestado = true;
    correo->Enviar([&] { hecho = true; });
    correo->Luego(1, [&] { hecho = true; });
    std::thread otro([&] { contestado = correo->Preguntar([&] { hecho = true; }); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    correo->Cerrar();
    otro.join();
    bool ultimo = false;
    Lx::LxApp::s_pApp->backend->Post([&] { ultimo = true; });
    Falso::HastaQue([&] { return ultimo; });
    Falso::HacerTareas();
    EXPECT_FALSE(hecho);
    EXPECT_FALSE(contestado);
}

TEST_F(Ventanas, LoQueDiceUnTrabajo) {
    using Lx::Etapa;
    const Apoyo::Filas<Lx::Control::Estado, std::string> filas = {
        {{Etapa::Lector}, "Buscando la tarjeta…"},
        {{Etapa::Lector, true}, "Otra aplicación usa el lector…"},
        {{Etapa::Copia, false, 1, 0}, "Firmando…"},
        {{Etapa::Copia, false, 999, 1000}, "Firmando 99 %"},
        {{Etapa::Copia, false, 30, 10}, "Firmando 100 %"},
        {{Etapa::Tarjeta, true, 0, 0, false, true}, "Cancelando…"},
        {{Etapa::Clave, false, 0, 0, true, true}, "La clave ya se está usando: se acaba esta firma…"},
    };
    for (const auto& [estado, frase] : filas) EXPECT_EQ(Orvanta::FraseDe(estado), frase);
}

// Each row is one dialog: what it opens with, what is pressed, and how it ends.
TEST_F(Ventanas, ElPin) {
    const std::string vacio = "Por favor, introduce el PIN del DNIe.";
    const std::string ultimo = "Queda 1 intento: si el PIN no es correcto, el DNIe se bloquea.";
    const std::string otra = "Es el último intento: pulsa Aceptar otra vez para usarlo.";
    const Apoyo::Filas<int, bool, std::string, std::string, std::string, int, std::string> casos = {
        // tries, one was refused; how it opens, keys ("\r" Enter, "\x1b" Escape), how it ends, result (0: open), PIN
        {3, false, "Quedan 3 intentos.", "\r", vacio, 0, ""},
        {2, true, "PIN incorrecto. Quedan 2 intentos.", "1234\r", "Quedan", 1, "1234"},
        {-1, false, "", "12\x1b", "", 2, ""},
        {0, false, "El PIN del DNIe está bloqueado: desbloquéalo con su código PUK.", "\x1b", "", 2, ""},
        {1, false, ultimo, "1\r", otra, 0, ""},
        {1, false, ultimo, "1\r\r", otra, 0, ""},  // in haste
        {1, false, ultimo, "1\r.\r", otra, 1, "1"},
        {1, false, ultimo, "1\r2", ultimo, 0, ""},
        {1, true, "PIN incorrecto. Queda 1 intento: si fallas, el DNIe se bloquea.", "1\r2.\r", otra, 0, ""},
        {3, false, "Quedan 3 intentos.", "1\t\t\r", "", 2, ""},  // Enter presses "Cancelar"
    };
    for (const auto& [intentos, rechazado, abre, teclas, acaba, resultado, pin] : casos) {
        SCOPED_TRACE(abre + teclas);
        std::string dado;
        CPinDialog d(nullptr, Paleta::DelTema(), "", dado);
        d.PonerIntentos(intentos, rechazado);
        ASSERT_TRUE(d.Create());
        const bool& cursor = Control<Lx::CEdit>(d, 0).caretVisible;
        d.OnTimer(2);
        EXPECT_TRUE(cursor);
        d.OnTimer(1);
        EXPECT_FALSE(cursor);
        const std::string& mensaje = Control<Lx::CLabel>(d, 3).text;
        EXPECT_EQ(mensaje, abre);
        for (const char t : teclas) {
            if (t == '.')
                std::this_thread::sleep_for(std::chrono::milliseconds(600));
            else if (t < ' ')
                Falso::Tecla(d, t == '\r' ? KeyCode::Enter : t == '\t' ? KeyCode::Tab : KeyCode::Escape);
            else
                Falso::Teclear(d, std::string(1, t));
        }
        EXPECT_THAT(mensaje, testing::HasSubstr(acaba));
        EXPECT_EQ(d.done, resultado != 0);
        EXPECT_EQ(d.result, resultado);
        EXPECT_EQ(dado, pin);
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
