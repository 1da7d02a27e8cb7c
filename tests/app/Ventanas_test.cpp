// The dialogs' own logic, without a display, a card or a store.
#include "tests/app/Ventanas.h"

#include <atomic>
#include <thread>

#include "app/AjusteTexto.h"
#include "app/Etapas.h"
#include "app/PinDialog.h"
#include "ui/LxComboBox.h"
#include "ui/LxEdit.h"
#include "ui/LxListView.h"

namespace PruebaApp {

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
    EXPECT_FALSE(d->done || d->HaySeleccion() || Control<Lx::CButton>(*d, 1).enabled);
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
        EXPECT_FALSE(Control<Lx::CButton>(*d, 1).enabled);
        d->SetFocusControl(&lista);
        Falso::Tecla(*d, KeyCode::Down);
        EXPECT_EQ(Control<Lx::CButton>(*d, 1).enabled, salvable);
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
        EXPECT_EQ(Control<Lx::CButton>(*d, 1).enabled, !queda.empty());
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
    for (const int indice : {0, 1, 2, 4, 3}) {
        d->OnSelSello(indice);
        EXPECT_EQ(paginas.enabled, indice == 3);
    }
    EXPECT_EQ(d->focus, &paginas);
    Falso::Teclear(*d, "2-4");
    Falso::Tecla(*d, KeyCode::Enter);
    EXPECT_FALSE(d->done);
    Falso::Teclear(*d, ", 7");
    Pulsar(*d, "Firmar");
    EXPECT_EQ(d->result, Lx::kAccepted);
    EXPECT_EQ(d->Paginas(), "2-4, 7");
    d->OnSelSello(1);
    EXPECT_EQ(d->Paginas(), "");
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
        {0, false, "El PIN del DNIe está bloqueado.", "\x1b", "", 2, ""},
        {1, false, ultimo, "1\r", otra, 0, ""},
        {1, false, ultimo, "1\r\r", otra, 1, "1"},
        {1, false, ultimo, "1\r2", ultimo, 0, ""},
        {1, true, ultimo, "1\r2\r", otra, 0, ""},
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
            if (t == '\r' || t == '\x1b')
                Falso::Tecla(d, t == '\r' ? KeyCode::Enter : KeyCode::Escape);
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
        {"uno\n\ndos tres", 49, "uno\n\ndos\ntres"},
    };
    for (const auto& [texto, ancho, lineas] : filas) EXPECT_EQ(Orvanta::EnLineas(texto, 11, ancho), lineas);
}

}  // namespace PruebaApp
