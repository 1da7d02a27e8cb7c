// The pane beside the view: what it shows, when it asks for it, and what its rows do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/apoyo/Falso.h"
#include "tests/ui/apoyo/Hojas.h"
#include "ui/viewer/LxDocView.h"
#include "ui/viewer/LxSidePane.h"
#include "ui/viewer/SidePaneInside.h"

namespace {

using Apoyo::Filas;
using Lx::CSidePane;
using Lx::KeyCode;
using Lx::Pdf::Target;
using namespace testing;

class Panel : public testing::Test {
  protected:
    Panel() {
        ventana.rect = {0, 0, 900, 600};
        EXPECT_TRUE(ventana.Create());
        vista = new Lx::CDocView;
        vista->rect = {260, 0, 640, 600};
        ventana.AddControl(vista);
        panel = new CSidePane(vista);
        panel->rect = {0, 0, 260, 600};
        ventana.AddControl(panel);
        ventana.SetFocusControl(panel);
        vista->onPageChanged = [this](int hoja, int) { panel->Follow(hoja); };
        vista->onOpened = [this](const auto&) { panel->Rebuild(); };
        panel->onSave = [this](int cual, const auto& fichero) {
            guardados.push_back(std::to_string(cual) + " " + fichero.name);
        };
        Falso::ElMundo().abrirPaginas = [this](const std::string&, Lx::Pdf::OnOpened abierto) {
            const Lx::Pdf::Opened estado{Lx::Pdf::Outcome::Good, "", 300,
                                         std::vector<Lx::Pdf::PageSize>(256, {600, 800})};
            auto nuevo = std::make_unique<Falso::Hojas>(estado, std::move(abierto));
            doc = nuevo.get();
            return nuevo;
        };
        vista->Open("a.pdf");
        doc->indice = {{"Uno", 0, {Target::Kind::Page, 10, -1, ""}},
                       {"Uno A", 1, {Target::Kind::Page, 20, -1, ""}},
                       {"Uno A 1", 2, {Target::Kind::Page, 30, -1, ""}},
                       {"Dos", 0, {Target::Kind::Page, 40, -1, ""}}};
        doc->Abrir();
        doc->ContestarTodo();
        doc->Tomar();
    }
    std::vector<std::string> Textos() {
        std::vector<std::string> textos;
        for (const std::string& linea : Falso::Pintar(*panel))
            if (linea.starts_with("DrawText")) textos.push_back(linea.substr(10, linea.find('"', 10) - 10));
        return textos;
    }
    std::vector<std::string> Filas() {
        std::vector<std::string> filas;
        for (const Lx::AccessibleItem& fila : panel->Accessibility().items)
            filas.push_back((fila.selected ? "*" : "") + fila.name);
        filas.erase(filas.begin(), filas.begin() + 3);
        return filas;
    }
    static void Reposar() {
        const auto tareas = std::exchange(Falso::ElMundo().tareas, {});
        for (const auto& tarea : tareas) tarea.hacer();
    }

    Falso::Aplicacion app;
    std::vector<std::string> guardados;
    Lx::CWindow ventana;
    Lx::CDocView* vista = nullptr;
    CSidePane* panel = nullptr;
    Falso::Hojas* doc = nullptr;
};

TEST_F(Panel, MiniaturasDeLoQueSeVe) {
    EXPECT_THAT(Textos(), ElementsAre("Miniaturas", "Índice", "Adjuntos", "1", "2", "3"));
    EXPECT_THAT(doc->Tomar(), IsEmpty()) << "not before it has come to rest";
    Reposar();
    doc->ContestarTodo();
    EXPECT_THAT(doc->Tomar(), IsEmpty()) << "pages that are drawn give their own";
    EXPECT_THAT(Falso::Pintar(*panel), Contains(StartsWith("DrawPixels 148x197 0,0,148,197")).Times(3));
    vista->SetCurrentPage(100);
    EXPECT_THAT(Filas(), ElementsAre("Página 99", "Página 100", "*Página 101"));
    doc->ContestarTodo();
    doc->Tomar();
    Textos();
    Reposar();
    doc->ContestarTodo();
    EXPECT_THAT(doc->Tomar(), ElementsAre("miniatura 98 148 0,0,148,197"));
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Up));
    EXPECT_EQ(vista->GetCurrentPage(), 99);
    panel->DoAccessibleAction(Lx::AccessibleAction::SelectItem, "", 3);
    EXPECT_EQ(vista->GetCurrentPage(), 98);
}

TEST_F(Panel, ElIndiceSePliega) {
    panel->Show(CSidePane::Tab::Outline);
    EXPECT_THAT(doc->Tomar(), ElementsAre("indice"));
    doc->ContestarTodo();
    EXPECT_THAT(Filas(), ElementsAre("Uno", "Uno A", "Uno A 1", "Dos"));
    const Apoyo::Filas<KeyCode, std::vector<std::string>> teclas{
        {KeyCode::Down, {"*Uno", "Uno A", "Uno A 1", "Dos"}},  {KeyCode::Left, {"*Uno", "Dos"}},
        {KeyCode::Right, {"*Uno", "Uno A", "Uno A 1", "Dos"}}, {KeyCode::Right, {"Uno", "*Uno A", "Uno A 1", "Dos"}},
        {KeyCode::Down, {"Uno", "Uno A", "*Uno A 1", "Dos"}},  {KeyCode::Left, {"Uno", "*Uno A", "Uno A 1", "Dos"}},
        {KeyCode::End, {"Uno", "Uno A", "Uno A 1", "*Dos"}}};
    for (const auto& [tecla, filas] : teclas) {
        EXPECT_TRUE(Falso::Tecla(ventana, tecla));
        EXPECT_EQ(Filas(), filas);
    }
    EXPECT_EQ(vista->GetCurrentPage(), 0) << "only Enter goes there";
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Enter));
    EXPECT_EQ(vista->GetCurrentPage(), 40);
    EXPECT_TRUE(vista->GoBack());
    const Lx::Rect fila = panel->Accessibility().items[3].rect;
    Falso::Clic(ventana, fila.x + 12, fila.y + 12);  // its arrow
    EXPECT_THAT(Filas(), ElementsAre("Uno", "*Dos"));
    Falso::Clic(ventana, fila.x + 60, fila.y + 12);
    EXPECT_EQ(vista->GetCurrentPage(), 10);
}

TEST_F(Panel, AdjuntosYVacios) {
    doc->indice.clear();
    panel->Show(CSidePane::Tab::Outline);
    doc->ContestarTodo();
    EXPECT_EQ(panel->Accessibility().description, "El documento no tiene índice.");
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::PageDown, Lx::kControl));
    EXPECT_EQ(panel->Shown(), CSidePane::Tab::Attachments);
    doc->ContestarTodo();
    EXPECT_EQ(panel->Accessibility().description, "El documento no lleva ficheros adjuntos.");
    doc->adjuntos = {{"a.txt", 12}, {"un nombre que no cabe en el panel de lado.xml", 12'345}, {"c.bin", -1}};
    panel->Rebuild();
    doc->ContestarTodo();
    EXPECT_THAT(Textos(), ElementsAre("Miniaturas", "Índice", "Adjuntos", "a.txt", "12 bytes",
                                      "un nombre que no cabe en el pane…", "12 kB", "c.bin", ""));
    const auto items = panel->Accessibility().items;
    EXPECT_EQ(panel->ToolTip({40, items[4].rect.y + 5}), "un nombre que no cabe en el panel de lado.xml");
    EXPECT_EQ(panel->ToolTip({40, items[3].rect.y + 5}), "");
    Falso::Clic(ventana, 40, items[4].rect.y + 5);
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Up));
    EXPECT_TRUE(Falso::Tecla(ventana, KeyCode::Enter));
    EXPECT_THAT(guardados, ElementsAre("1 un nombre que no cabe en el panel de lado.xml", "0 a.txt"));
    const Apoyo::Filas<int64_t, std::string> tamanos{{-1, ""},
                                                     {1, "1 byte"},
                                                     {999, "999 bytes"},
                                                     {1000, "1 kB"},
                                                     {1'250'000, "1,2 MB"},
                                                     {999'600, "1,0 MB"},
                                                     {12'000'000, "12 MB"}};
    for (const auto& [bytes, texto] : tamanos) EXPECT_EQ(Lx::SizeText(bytes), texto);
}

}  // namespace
