// The main window's own logic, without a display, a card, a store or a program that draws.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/app/Ventanas.h"
#include "ui/LxEdit.h"
#include "ui/LxListView.h"

namespace PruebaApp {

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
    v.OnPagina(99'999, 100'000);
    EXPECT_THAT(Falso::Pintar(hoja), testing::Contains(testing::EndsWith("sans-serif 8")));
}

TEST_F(Ventanas, LaLineaDeEstado) {
    CMainWindow& v = Abrir(0);
    auto& estado = Control<Lx::CLabel>(v, 1);
    EXPECT_EQ(estado.text, "Error al abrir /a/doc.pdf: motivo");
    EXPECT_EQ(estado.textColor, Lx::ThemeColor(Lx::ColorRole::AppErrorOnFooter));
    v.OnShortcut('F', Lx::kControl);
    EXPECT_FALSE(Control<Lx::CEdit>(v, 1).visible) << "there is nothing to look in";
    paginas_ = 1;
    v.OnDropFile("/b/otro.pdf");
    hojas_->Abrir();
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

TEST_F(Ventanas, IntroPulsaElBotonQueTieneElFoco) {
    CMainWindow& v = Abrir(2);
    int menus = 0;
    Falso::ElMundo().elegirOrden = [&menus](const auto&) { return ++menus, 0; };
    const auto boton = [&v](const std::string& texto) -> Lx::CButton& {
        size_t n = 0;
        while (Control<Lx::CButton>(v, n).text != texto) ++n;
        return Control<Lx::CButton>(v, n);
    };
    v.SetFocusControl(&boton("Menú"));
    Falso::Tecla(v, KeyCode::Enter);
    EXPECT_EQ(menus, 1);
    v.OnShortcut('F', Lx::kControl);
    v.SetFocusControl(&boton("Cerrar"));
    Falso::Tecla(v, KeyCode::Enter);
    EXPECT_FALSE(boton("Cerrar").visible);
}

TEST_F(Ventanas, LoQueCambioAntesDeAbrirse) {
    ruta_ = carpeta_ / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, Pdf(2));
    const auto leido = CCambiosDisco::MarcaDe(ruta_);
    Apoyo::EscribirFichero(ruta_, Pdf(3));
    Abrir(2, leido);
    const Falso::Hojas* const primeras = hojas_;
    Ver();
    EXPECT_NE(hojas_, primeras) << "what was read ahead isn't what lies there";
    hojas_->Abrir();
    EXPECT_THAT(Dice(), testing::StartsWith("El documento ha cambiado en el disco"));
}

TEST_F(Ventanas, LoQueCambiaEnElDisco) {
    ruta_ = carpeta_ / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, Pdf(2));
    CMainWindow& v = Abrir(2);
    Ver();
    const auto cambia = [&](const std::function<void()>& hacer) {
        hojas_ = nullptr;
        Falso::ElMundo().tareas.clear();
        hacer();
        Falso::HastaQue([] { return !Falso::ElMundo().tareas.empty(); });
        EXPECT_EQ(hojas_, nullptr) << "it isn't left alone yet";
        Falso::HacerTareas();
    };
    cambia([&] { Apoyo::EscribirFichero(ruta_, Pdf(3)); });
    ASSERT_NE(hojas_, nullptr);
    // What is shown isn't what would be signed.
    Pulsar(v, "Firmar");
    Quieto();
    EXPECT_THAT(Dice(), testing::HasSubstr("ha cambiado en el disco después"));
    hojas_->listo.pages = 3;
    hojas_->Abrir();
    EXPECT_THAT(Dice(), testing::StartsWith("No se ha firmado: el documento ha cambiado en el disco"));
    EXPECT_EQ(Control<Lx::CEdit>(v, 0).GetText(), "1 / 3");
    cambia([&] { std::ofstream(ruta_, std::ios::app); });
    EXPECT_EQ(hojas_, nullptr) << "it was opened for writing, and nothing was written";
    // The same size and time as before.
    struct stat antes {};
    ASSERT_EQ(stat(ruta_.c_str(), &antes), 0);
    cambia([&] {
        std::fstream(ruta_) << "%PDF-1.6";
        const timespec tiempos[] = {antes.st_atim, antes.st_mtim};
        EXPECT_EQ(utimensat(AT_FDCWD, ruta_.c_str(), tiempos, 0), 0);
    });
    ASSERT_NE(hojas_, nullptr);
    hojas_->listo.pages = 3;
    hojas_->Abrir();
    EXPECT_EQ(Dice(), "El documento ha cambiado en el disco y se ha vuelto a leer.");
    paginas_ = 0;
    cambia([&] {
        Apoyo::EscribirFichero(carpeta_ / "otro", "roto");
        std::filesystem::rename(carpeta_ / "otro", ruta_);
    });
    hojas_->Abrir();
    EXPECT_THAT(Dice(), testing::HasSubstr("no se puede leer como está ahora: motivo"));
    EXPECT_EQ(Control<Lx::CEdit>(v, 0).GetText(), "1 / 3") << "what was there stays";
    cambia([&] { std::filesystem::remove(ruta_); });
    EXPECT_EQ(hojas_, nullptr);
    EXPECT_THAT(Dice(), testing::HasSubstr("ya no está en su sitio"));
    Apoyo::EscribirFichero(carpeta_ / "ajeno.pdf", "x");
    Falso::ElMundo().tareas.clear();
    Falso::HastaQue([n = 0]() mutable { return ++n > 5; });
    EXPECT_TRUE(Falso::ElMundo().tareas.empty()) << "another file of the folder";
}

// Printing shows how far it is and can be given up; until it ends the document stays the one that is printed.
TEST_F(Ventanas, LaImpresion) {
    struct Impresora : Lx::IPrintJob {
        [[nodiscard]] const std::vector<int>& Pages() const override { return hojas; }
        bool BeginPage(float, float, Lx::Size& device, int&) override {
            device = {60, 80};
            return true;
        }
        bool DrawBand(const unsigned char*, int, int, int, int) override { return true; }
        bool Finish() override { return true; }
        std::vector<int> hojas{1, 0};
    };
    ruta_ = carpeta_ / "doc.pdf";
    Apoyo::EscribirFichero(ruta_, Pdf(2));
    CMainWindow& v = Abrir(2);
    Ver();
    Falso::ElMundo().imprimir = [](const Lx::PrintRequest& peticion,
                                   std::string& error) -> std::unique_ptr<Lx::IPrintJob> {
        if (peticion.pages != 2 || peticion.title != "doc.pdf") error = "mal";
        return std::make_unique<Impresora>();
    };
    for (const bool cancela : {true, false}) {
        Falso::Hojas* const impresas = hojas_;
        v.OnShortcut('P', Lx::kControl);
        EXPECT_EQ(Dice(), "Imprimiendo la página 1 de 2…");
        v.OnDropFile("/otro.pdf");
        EXPECT_EQ(pedida_, ruta_);
        Apoyo::EscribirFichero(ruta_, Pdf(cancela ? 3 : 4));
        Falso::HastaQue([] { return !Falso::ElMundo().tareas.empty(); });
        Falso::HacerTareas();
        EXPECT_EQ(hojas_, impresas) << "it is read anew later";
        static_cast<void>(impresas->Tomar());
        cancela ? static_cast<void>(Falso::Tecla(v, KeyCode::Escape)) : impresas->ContestarTodo();
        EXPECT_THAT(Dice(), testing::HasSubstr(cancela ? "Impresión cancelada" : "enviado a la impresora"));
        EXPECT_EQ(testing::Value(impresas->Tomar(), testing::Contains(testing::StartsWith("cancelar"))), cancela);
        ASSERT_NE(hojas_, impresas);
        v.OnShortcut('P', Lx::kControl);
        EXPECT_THAT(Dice(), testing::HasSubstr("vuelve a imprimirlo"));
        hojas_->Abrir();
        Ver();
    }
    Falso::ElMundo().imprimir = [](const Lx::PrintRequest&, std::string& error) {
        error = "No hay impresora.";
        return nullptr;
    };
    v.OnShortcut('P', Lx::kControl);
    EXPECT_EQ(Dice(), "No hay impresora.");
}

TEST_F(Ventanas, LaBusqueda) {
    CMainWindow& v = Abrir(9);
    Ver();
    auto& vista = Control<Lx::CDocView>(v, 0);
    auto& texto = Control<Lx::CEdit>(v, 1);
    const auto busca = [&](const std::string& escribe) {
        static_cast<void>(hojas_->Tomar());
        Falso::Teclear(v, escribe);
        Falso::HacerTareas();
        std::string ultima;
        for (const std::string& linea : hojas_->Tomar())
            if (linea.starts_with("buscar")) ultima += linea + ";";
        return ultima;
    };
    v.OnShortcut('F', Lx::kControl);
    EXPECT_EQ(v.focus, &texto);
    EXPECT_EQ(vista.rect.y, 146) << "it stands above the pages, not on them";
    static_cast<void>(hojas_->Tomar());
    Falso::Teclear(v, "xy");
    const auto espera = std::ranges::find(Falso::ElMundo().tareas, 150U, &Falso::Tarea::ms);
    ASSERT_NE(espera, Falso::ElMundo().tareas.end());
    espera->hacer();
    EXPECT_THAT(hojas_->Tomar(), ElementsAre()) << "the keyboard doesn't rest yet";
    texto.SelectAll();
    EXPECT_EQ(busca("ñ"), "") << "one letter is too few";
    EXPECT_EQ(busca("a"), "buscar ña 0;");
    auto& cuenta = Control<Lx::CLabel>(v, 0);
    hojas_->Hallar({{{1, 0, 2}, {2, 0, 2}}, 4, false});
    EXPECT_EQ(cuenta.text, "1 de 2 hasta ahora (página 4 de 9)");
    hojas_->Hallar({{{8, 0, 2}}, 9, true});
    EXPECT_EQ(cuenta.text, "1 de 3");
    for (const auto& [tecla, con, queda] : Apoyo::Filas<KeyCode, unsigned, std::string>{
             {KeyCode::Enter, 0, "2 de 3"},
             {KeyCode::F3, 0, "3 de 3"},
             {KeyCode::Enter, Lx::kShift, "2 de 3"},
             {KeyCode::F3, Lx::kShift, "1 de 3"},
         }) {
        Falso::Tecla(v, tecla, con);
        EXPECT_EQ(cuenta.text, queda);
    }
    // What is typed is looked for at once when Enter says so, and once.
    Falso::Teclear(v, "o");
    Falso::Tecla(v, KeyCode::Enter);
    EXPECT_EQ(busca(""), "") << "it was begun by Enter";
    Pulsar(v, "Exacto");
    EXPECT_THAT(hojas_->Tomar(), testing::Contains("buscar ñao 0"));
    hojas_->Hallar({{}, 9, true});
    EXPECT_EQ(cuenta.text, "No se encuentra");
    v.MostrarEstado("un error", true);
    Falso::Tecla(v, KeyCode::Escape);
    EXPECT_FALSE(texto.visible);
    EXPECT_EQ(vista.GetSearch().pagesDone, 0) << "it has ended";
    EXPECT_EQ(v.focus, &vista);
    EXPECT_EQ(vista.rect.y, 100);
    EXPECT_TRUE(Aviso().visible) << "one thing at a time";
    Falso::Tecla(v, KeyCode::F11);
    Falso::Tecla(v, KeyCode::Escape);
    EXPECT_TRUE(v.IsFullScreen() && !Aviso().visible);
    Falso::Tecla(v, KeyCode::Escape);
    EXPECT_FALSE(v.IsFullScreen());
}

// Where the reader was is found again, unless that isn't wanted, or isn't anybody's business.
TEST_F(Ventanas, LosRecientes) {
    const auto nombres = [] {
        std::vector<std::string> todos;
        for (const Orvanta::Reciente& r : Orvanta::Recientes().Ver()) todos.push_back(r.ruta);
        return todos;
    };
    const auto elige = [this](const std::string& texto) {
        Falso::ElMundo().elegirOrden = Falso::Elegir(texto);
        Falso::Tecla(*ventana_, KeyCode::F10);
    };
    CMainWindow& v = Abrir(9);
    Ver();
    EXPECT_THAT(nombres(), ElementsAre("/a/doc.pdf"));
    v.OnIrHoja("7");
    v.OnDropFile("/b/otro.pdf");
    hojas_->Abrir();
    Ver();
    EXPECT_THAT(nombres(), ElementsAre("/b/otro.pdf", "/a/doc.pdf"));
    elige("/a/doc.pdf");
    hojas_->Abrir();
    EXPECT_EQ(Control<Lx::CEdit>(v, 0).GetText(), "7 / 9");
    Ver();
    v.OnDropFile("/c/secreto.pdf");
    hojas_->listo.isProtected = true;
    hojas_->Abrir();
    EXPECT_THAT(Dice(), testing::HasSubstr("protegido: se puede leer, pero no firmar"));
    Ver();
    EXPECT_THAT(nombres(), ElementsAre("/a/doc.pdf", "/b/otro.pdf"));
    elige("No guardar documentos recientes");
    EXPECT_FALSE(std::filesystem::exists(carpeta_ / "estado/velmora/recientes"));
    v.OnDropFile("/a/doc.pdf");
    hojas_->Abrir();
    Ver();
    EXPECT_EQ(Control<Lx::CEdit>(v, 0).GetText(), "1 / 9");
    EXPECT_THAT(nombres(), ElementsAre());
    EXPECT_THROW(elige("/a/doc.pdf"), std::logic_error);
    elige("No guardar documentos recientes");
    EXPECT_THAT(nombres(), ElementsAre("/a/doc.pdf"));
}

TEST_F(Ventanas, UnDocumentoConContrasena) {
    CMainWindow& v = Abrir(1);
    v.OnDropFile("/b/cerrado.pdf");
    hojas_->listo.outcome = Lx::Pdf::Outcome::Locked;
    hojas_->listo.isProtected = true;
    hojas_->clave = "ábrete";
    std::vector<std::string> pintado;
    const auto escribe = [&](const std::string& clave) {
        return [&, clave] {
            pintado = Falso::Pintar(Falso::Arriba());
            Falso::Teclear(Falso::Arriba(), clave);
            Falso::Tecla(Falso::Arriba(), KeyCode::Enter);
        };
    };
    Falso::ElMundo().guion = {escribe("mala")};
    hojas_->Abrir();
    Falso::HastaQue([] { return Falso::ElMundo().guion.empty(); });
    Falso::ElMundo().guion = {escribe("ábrete")};
    hojas_->ContestarTodo();
    Falso::HastaQue([] { return Falso::ElMundo().guion.empty(); });
    EXPECT_THAT(pintado, testing::Contains(testing::HasSubstr("no es correcta")));
    hojas_->ContestarTodo();
    EXPECT_EQ(Estado(), "/b/cerrado.pdf");
    v.OnDropFile("/b/cerrado.pdf");
    hojas_->listo.outcome = Lx::Pdf::Outcome::Locked;
    Falso::ElMundo().guion = {[] { Falso::Tecla(Falso::Arriba(), KeyCode::Escape); }};
    hojas_->Abrir();
    Falso::HastaQue([] { return Falso::ElMundo().guion.empty(); });
    EXPECT_THAT(Estado(), testing::StartsWith("Error al abrir /b/cerrado.pdf: "));
}

// Saved where the person says, beside the document at first; where it is opened from comes from there too.
TEST_F(Ventanas, UnAdjuntoSeGuarda) {
    CMainWindow& v = Abrir(1);
    Ver();
    const std::string destino = carpeta_ / "nota.txt";
    std::vector<std::string> ofrecidos;
    Falso::ElMundo().elegirFichero = [&](const Lx::FileDialogRequest& peticion, std::string& ruta) {
        ofrecidos.push_back(peticion.initialPath + (peticion.save ? " guardar" : ""));
        ruta = destino;
        return peticion.save;
    };
    Control<Lx::CSidePane>(v, 0).onSave(2, {"nota.txt", 3});
    EXPECT_THAT(hojas_->Tomar(), testing::Contains("guardar 2 " + destino));
    hojas_->ContestarTodo();
    EXPECT_THAT(Dice(), testing::HasSubstr("se ha guardado en " + destino));
    v.OnShortcut('O', Lx::kControl);
    v.OnDropFile("cerca.pdf");
    hojas_->Abrir();
    v.OnShortcut('O', Lx::kControl);
    EXPECT_THAT(ofrecidos,
                ElementsAre("/a/nota.txt guardar", "/a/doc.pdf", std::filesystem::current_path() / "cerca.pdf"));
}

TEST_F(Ventanas, UnEnlaceSePregunta) {
    CMainWindow& v = Abrir(1);
    const auto& vista = Control<Lx::CDocView>(v, 0);
    for (const bool si : {false, true}) {
        Falso::ElMundo().guion = {[si] {
            EXPECT_THAT(Falso::Pintar(Falso::Arriba()), testing::Contains(testing::HasSubstr("https://a.es@b.es/%E2")));
            EXPECT_THAT(Falso::Pintar(Falso::Arriba()), testing::Contains(testing::HasSubstr("lleva es: b.es\"")));
            Pulsar(Falso::Arriba(), si ? "Abrir" : "No abrir");
        }};
        vista.onAddress("https://a.es@b.es/\xe2\x80\xae");
        EXPECT_EQ(Falso::ElMundo().direcciones.size(), si ? 1U : 0U);
    }
    vista.onAddress("file:///etc/passwd");
    EXPECT_THAT(Dice(), testing::HasSubstr("El enlace no se abre"));
    EXPECT_EQ(Falso::ElMundo().direcciones.size(), 1U);
}

// The desktop's colours are asked for once the page is seen, and count unless others were chosen.
TEST_F(Ventanas, ElTema) {
    using Lx::ThemeSet;
    const auto fondo = [](ThemeSet set) { return Lx::ThemeColor(Lx::ColorRole::AppBackground, set); };
    CMainWindow& v = Abrir(1);
    EXPECT_FALSE(Falso::ElMundo().apariencia);
    Ver();
    ASSERT_TRUE(Falso::ElMundo().apariencia);
    const auto elige = [&](const std::string& texto) {
        Falso::ElMundo().elegirOrden = Falso::Elegir(texto);
        Pulsar(v, "Menú");
    };
    auto* otra = new CMainWindow;
    ASSERT_TRUE(app_->AddWindow(otra));
    Falso::ElMundo().apariencia(ThemeSet::Dark);
    EXPECT_EQ(otra->backColor, fondo(ThemeSet::Dark));
    elige("Claro");
    Falso::ElMundo().apariencia(ThemeSet::Dark);
    EXPECT_EQ(otra->backColor, fondo(ThemeSet::Light));
    elige("Según el escritorio");
    EXPECT_EQ(otra->backColor, fondo(ThemeSet::Dark));
    elige("Claro");
}

// The help sheet has every key that the table has, and what it says of the menu is there.
TEST_F(Ventanas, LaAyuda) {
    CMainWindow& v = Abrir(1);
    std::vector<std::string> lineas;
    Falso::ElMundo().guion = {[&] {
        const auto& lista = Control<Lx::CListView>(Falso::Arriba(), 0);
        for (int i = 0; i < lista.GetCount(); ++i) lineas.push_back(lista.GetItem(i)[0] + " " + lista.GetItem(i)[1]);
        Falso::Tecla(Falso::Arriba(), KeyCode::Escape);
    }};
    Falso::Tecla(v, KeyCode::F1);
    std::vector<std::string> menu;
    Falso::ElMundo().elegirOrden = [&](const std::vector<Lx::MenuItem>& ordenes) {
        menu.clear();
        for (const Lx::MenuItem& una : ordenes) menu.push_back(una.text + "/" + una.shortcut);
        return 0;
    };
    Falso::Tecla(v, KeyCode::F10);
    EXPECT_THAT(menu, testing::IsSupersetOf({"Imprimir…/Ctrl+P", "Zoom/", "Recientes/", "Copiar/Ctrl+C"}));
    EXPECT_THAT(menu, testing::Not(testing::Contains("Abrir este menú/F10")));
    v.OnContextMenu({50, 200});
    EXPECT_THAT(menu, testing::IsSupersetOf({"Copiar/Ctrl+C", "Ajustar al ancho/"}));
    EXPECT_THAT(menu, testing::Not(testing::Contains("Imprimir…/Ctrl+P")));
    for (const char* linea : {"Ctrl+O Abrir un documento…", "Mayús+F3 Buscar el anterior", "Ctrl++ Acercar",
                              "Alt+Izquierda Volver adonde estabas", "Ctrl+C Copiar", "Menú Oscuro"})
        EXPECT_THAT(lineas, testing::Contains(linea));
}

}  // namespace PruebaApp
