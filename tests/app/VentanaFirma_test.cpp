// What the main window does about a signature, before it, meanwhile and afterwards.
#include <cstdio>

#include "tests/app/Ventanas.h"
#include "ui/LxEdit.h"

namespace PruebaApp {

// Where the first signature of a file has its stamp: the widget's /Rect, on a page of 842 points.
LxPdfSigner::Estampa SelloDe(const std::string& ruta) {
    const std::string pdf = Apoyo::LeerFichero(ruta);
    const size_t widget = pdf.find("/Rect [", pdf.rfind("/Subtype /Widget") - 200);
    double x = 0, y = 0, x2 = 0, y2 = 0;
    EXPECT_EQ(std::sscanf(pdf.c_str() + widget, "/Rect [%lf %lf %lf %lf", &x, &y, &x2, &y2), 4);
    return {0, x, 842 - y2, x2, 842 - y};
}

// Each row is one way to end a signature before its key is used; afterwards nothing ends it.
TEST_F(Ventanas, MientrasFirma) {
    ruta_ = carpeta_ / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, Pdf(3));
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
        bool consultado = false;
        g_fuentes.alConsultar = [&, enUso = enUso, accion = accion, cancela = cancela](Lx::Control& control) {
            consultado = true;
            control.Pasar(Lx::Etapa::Copia, 100);
            control.Avanzar(62);
            if (enUso) static_cast<void>(control.Comprometer());
            EnVentana([&] {
                Falso::HacerTareas();
                EXPECT_EQ(Dice(), "Firmando 62 %");
                EXPECT_THAT(Falso::Pintar(v), testing::Contains(testing::HasSubstr("\"Firmando 62 %\"")));
                // The pages turn, another document is not opened, and no other signature begins, here or elsewhere.
                Falso::Tecla(v, KeyCode::End);
                EXPECT_EQ(Control<Lx::CEdit>(v, 0).GetText(), "3 / 3");
                Falso::Clic(v, Aviso().rect.x + 5, Aviso().rect.y + 5);
                EXPECT_TRUE(Aviso().visible);
                v.OnDropFile("/otro.pdf");
                EXPECT_EQ(pedida_, ruta_);
                Pulsar(v, "Firmar");
                EXPECT_THAT(Dice(), testing::HasSubstr("Ya hay una firma en marcha"));
                CMainWindow otra;
                otra.keepAppOnClose = true;
                EXPECT_TRUE(otra.Create());
                otra.OnFirmar();
                EXPECT_THAT(Control<CAviso>(otra, 0).Accessibility().name, testing::HasSubstr("Otra ventana"));
                accion(v);
            });
            EXPECT_EQ(control.Cancelado(), cancela);
            control.Soltar();
            // What was asked for while the key was in use counts now.
            if (!control.Cancelado()) control.Cancelar();
        };
        Falso::ElMundo().guion.push_back([] { Falso::Tecla(Falso::Arriba(), KeyCode::Enter); });
        Pulsar(v, "Firmar");
        Falso::HastaQue([&] { return consultado && CTarea::Hilos() == 0 && !Aviso().EnProgreso(); });
        EXPECT_EQ(Estado(), ruta_);
        EXPECT_EQ(Dice(), "Firma cancelada por el usuario.");
        Quieto();
        EXPECT_EQ(Falso::De(v).cerrada, cierra);
    }
}

// The program is told to end while a device doesn't answer.
TEST_F(Ventanas, ElFinNoEspera) {
    ruta_ = carpeta_ / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, Pdf(1));
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
    Falso::HastaQue([&] { return Falso::De(v).cerrada; });
    EXPECT_FALSE(Aviso().visible) << "there is no result";
    EXPECT_EQ(CTarea::Hilos(), 1);
    soltar.set_value();
    Falso::HastaQue([] { return CTarea::Hilos() == 0; });
}

// What is known of a document before anything is asked for. Each row: the document, the pages that are seen, what the
// notice says when it is opened, and what "Firmar" says instead of asking; empty: it asks.
TEST_F(Ventanas, LoQueSeSabeAntesDeFirmar) {
    const std::string p12 = "x";
    const auto firmado = [&](const std::string& ruta) {
        const Apoyo::Identidad& yo = Apoyo::IdentidadComun();
        Apoyo::EscribirFichero(carpeta_ / "base.pdf", Pdf(1));
        EXPECT_TRUE(LxPdfSigner::Firmar(carpeta_ / "base.pdf", ruta, yo.certificado, yo.firmar, {}, {}).firmado);
    };
    ruta_ = carpeta_ / "doc.pdf";
    const Apoyo::Filas<std::function<void()>, int, std::string, std::string, std::string> filas = {
        {[&] { Apoyo::EscribirFichero(ruta_, Pdf(2)); }, 2, "", "", ""},
        {[&] { Apoyo::EscribirFichero(ruta_, Pdf(2)); }, 3, "", "se ven 3 páginas, pero el documento tiene 2", ""},
        {[&] { Apoyo::EscribirFichero(ruta_, "nada"); }, 1, "No se puede firmar", "No se puede firmar", ""},
        {[&] { firmado(ruta_); }, 1, "ya tiene una firma", "",
         "Contiene 1 firma, sin comprobar: según el documento, de "},
    };
    for (const auto& [hacer, vistas, alAbrir, alFirmar, barra] : filas) {
        SCOPED_TRACE(alAbrir + alFirmar);
        hacer();
        CMainWindow& v = Abrir(vistas);
        EXPECT_EQ(Dice(), "") << "before it was looked at";
        Ver();
        EXPECT_THAT(Dice(),
                    alAbrir.empty() ? testing::IsEmpty() : testing::Matcher<std::string>(testing::HasSubstr(alAbrir)));
        const std::string verde = Falso::Texto(Paleta::DelTema()[Paleta::kExito]);
        EXPECT_THAT(Falso::Pintar(Aviso()), testing::Not(testing::Contains(testing::HasSubstr(verde))));
        const auto& banda = Control<CBarraFirmas>(v, 0);
        EXPECT_EQ(banda.visible, !barra.empty());
        EXPECT_THAT(banda.Accessibility().name, testing::StartsWith(barra));
        EXPECT_EQ(Control<Lx::CDocView>(v, 0).rect,
                  (Lx::Rect{14, barra.empty() ? 100 : 132, 872, barra.empty() ? 544 : 512}));
        bool pregunta = false;
        Falso::ElMundo().guion = {[&] {
            pregunta = true;
            Falso::Tecla(Falso::Arriba(), KeyCode::Escape);
        }};
        Pulsar(v, "Firmar");
        Quieto();
        EXPECT_EQ(pregunta, alFirmar.empty());
        if (!alFirmar.empty()) {
            EXPECT_THAT(Dice(), testing::HasSubstr(alFirmar));
        }
    }
}

// The view stays where it was unless the stamp is elsewhere, the notice beside the stamp, and no name is in green.
TEST_F(Ventanas, LaCopiaFirmada) {
    ruta_ = carpeta_ / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, Pdf(3));
    g_fuentes.entradas = {Apta(Origen::Sistema, "Ana")};
    g_fuentes.firmar = Apoyo::IdentidadComun().firmar;
    for (const auto& [vista, pagina] : Apoyo::Filas<std::string, std::string>{{"1", "1 / 3"}, {"3", "2 / 3"}}) {
        SCOPED_TRACE(vista);
        CMainWindow& v = Abrir(3);
        Ver();
        v.OnIrHoja(vista);
        Falso::ElMundo().guion = {[] { Falso::Tecla(Falso::Arriba(), KeyCode::Enter); }};
        Pulsar(v, "Firmar");
        Falso::HastaQue([&] { return pedida_ != ruta_; });
        EXPECT_THAT(Dice(), testing::StartsWith("Firmado: " + pedida_)) << "before it can be seen";
        hojas_->Abrir();
        Ver();
        EXPECT_EQ(Estado(), pedida_);
        const LxPdfSigner::Estampa sello = SelloDe(pedida_);
        const auto& doc = Control<Lx::CDocView>(v, 0);
        const Lx::Rect r =
            doc.RectOf(0, {float(sello.izquierda), float(sello.arriba), float(sello.derecha), float(sello.abajo)});
        const Lx::Rect& a = Aviso().rect;
        EXPECT_TRUE(r.h > 0 && r.y > doc.rect.y && r.y + r.h < doc.rect.y + doc.rect.h) << "it is in sight";
        EXPECT_TRUE(r.y + r.h <= a.y || a.y + a.h <= r.y) << "the notice stands on it";
        EXPECT_THAT(Control<Lx::CEdit>(v, 0).GetText(), pagina);
        EXPECT_EQ(Control<CBarraFirmas>(v, 0).Accessibility().name, "Firmado ahora por «Ana». ");
        const std::string verde = Falso::Texto(Paleta::DelTema()[Paleta::kExito]);
        EXPECT_THAT(Falso::Pintar(Aviso()), testing::Contains(testing::HasSubstr(verde)));
        Pulsar(v, "Mostrar en la carpeta");
        EXPECT_THAT(Falso::ElMundo().carpetas, testing::Contains(pedida_));
    }
}

TEST_F(Ventanas, LaBarraDeFirmas) {
    using Lx::Firma::FirmaAnterior;
    const FirmaAnterior ana{"Ana", ""}, eva{"Eva", ""}, nadie{}, sello{"TSA", "", -1, true};
    using Firmas = std::vector<FirmaAnterior>;
    using Nombres = std::vector<std::string>;
    for (const auto& [firmas, aqui, dice] : Apoyo::Filas<Firmas, Nombres, std::string>{
             {Firmas{}, Nombres{}, ""},
             {Firmas{nadie}, Nombres{}, "Contiene 1 firma, sin comprobar."},
             {Firmas{ana, eva, ana, sello}, Nombres{},
              "Contiene 4 firmas, sin comprobar: según el documento, de «Ana», «Eva» y un sello de tiempo."},
             {Firmas{ana, eva}, Nombres{"Eva"},
              "Firmado ahora por «Eva». Contiene además 1 firma, sin comprobar: según el documento, de «Ana»."},
             {Firmas{eva}, Nombres{"Eva"}, "Firmado ahora por «Eva». "},
             {Firmas{{"Eva». 2 firmas\n\u202everificadas", ""}, {std::string(70, 'a'), ""}}, Nombres{},
              "Contiene 2 firmas, sin comprobar: según el documento, de «Eva'. 2 firmas verificadas» y «" +
                  std::string(60, 'a') + "…»."},
             {Firmas{ana, eva, {"C", ""}, {"D", ""}, {"E", ""}, {"F", ""}, {"G", ""}}, Nombres{},
              "Contiene 7 firmas, sin comprobar: según el documento, de «Ana», «Eva», «C», «D», «E» y otros."},
         }) {
        CBarraFirmas barra(Paleta::DelTema());
        EXPECT_EQ(barra.Poner(firmas, aqui), !dice.empty());
        EXPECT_EQ(barra.Accessibility().name, dice);
        barra.rect = {0, 0, 100, 26};
        EXPECT_EQ(barra.ToolTip({}), dice) << "it is cut";
        for (const std::string& linea : Falso::Pintar(barra))
            EXPECT_THAT(linea, testing::Not(testing::HasSubstr(Falso::Texto(Paleta::DelTema()[Paleta::kExito]))));
    }
}

}  // namespace PruebaApp
