// The dialogs' own logic, without a display, a card or a store.
#include "tests/app/Ventanas.h"

#include <atomic>
#include <thread>

#include "app/AjusteTexto.h"
#include "app/DiagnosticoDialog.h"
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
             {carpeta / "D.PDF", carpeta / "D.PDF", false, true},
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
    // Another one comes while this one is examined.
    std::atomic<int> veces = 0;
    g_fuentes.alConsultar = [&](Lx::Control&) {
        if (++veces == 1) EnVentana(g_fuentes.tarjeta), EnVentana([] {});
    };
    g_fuentes.tarjeta();
    Falso::HastaQue([&] { return veces == 2 && textos().starts_with("Se puede firmar"); });
    EXPECT_THAT(textos(), testing::HasSubstr("|bien|Lector de tarjetas|Uno.|"));
    Falso::Tecla(d, KeyCode::Escape);
    EXPECT_TRUE(d.done);
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
        {"uno\n\ndos tres", 49, "uno\n\ndos\ntres"},
    };
    for (const auto& [texto, ancho, lineas] : filas) EXPECT_EQ(Orvanta::EnLineas(texto, 11, ancho), lineas);
}

}  // namespace PruebaApp
