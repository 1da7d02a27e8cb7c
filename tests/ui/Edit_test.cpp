#include "ui/LxEdit.h"

#include <gmock/gmock.h>
#include <malloc.h>

#include <cstdlib>
#include <map>
#include <new>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/apoyo/Falso.h"

// Blocks that were given back while they still held the needle.
static const char* aguja = nullptr;
static int delatores = 0;

static void Liberar(void* bloque) noexcept {
    if (aguja != nullptr && bloque != nullptr) {
        const std::string_view dentro(static_cast<const char*>(bloque), malloc_usable_size(bloque));
        delatores += dentro.find(aguja) != std::string_view::npos ? 1 : 0;
    }
    std::free(bloque);
}

void* operator new(size_t bytes) {
    if (void* bloque = std::calloc(1, bytes > 0 ? bytes : 1)) return bloque;
    throw std::bad_alloc();
}
void operator delete(void* bloque) noexcept {
    Liberar(bloque);
}
void operator delete(void* bloque, size_t /*bytes*/) noexcept {
    Liberar(bloque);
}

namespace {

using namespace Falso;
using Lx::EditCommand;
using Lx::EventType;
using Lx::KeyCode;
using namespace testing;

class VentanaTestigo : public Lx::CWindow {
  public:
    void OnKeyDown(KeyCode key, unsigned /*modifiers*/) override { tecla = key; }
    KeyCode tecla = KeyCode::Unknown;
};

class Edicion : public testing::Test {
  public:
    void Anotar(const std::string& texto) { avisos.push_back(texto); }
    void Quitar(const std::string& texto) {
        avisos.push_back(texto);
        ventana.RemoveControl(edit, true);
    }

  protected:
    Edicion() {
        edit->rect = {10, 10, 218, 30};  // 200 pixels for the text, from x = 19: 28 characters
        ventana.AddControl(edit);
        ventana.SetFocusControl(edit);
    }

    // Types what stands outside of <>; in it is a key with C- and S- before it, or a command.
    void Hacer(const std::string& pasos) {
        static const std::map<std::string, KeyCode> kTeclas{
            {"Izq", KeyCode::Left},         {"Der", KeyCode::Right},   {"Inicio", KeyCode::Home}, {"Fin", KeyCode::End},
            {"Borrar", KeyCode::Backspace}, {"Supr", KeyCode::Delete}, {"Intro", KeyCode::Enter}};
        static const std::map<std::string, EditCommand> kOrdenes{
            {"copiar", EditCommand::Copy},    {"cortar", EditCommand::Cut},    {"pegar", EditCommand::Paste},
            {"todo", EditCommand::SelectAll}, {"deshacer", EditCommand::Undo}, {"rehacer", EditCommand::Redo}};
        for (size_t i = 0; i < pasos.size();) {
            const size_t fin = pasos[i] == '<' ? pasos.find('>', i) : pasos.find('<', i);
            std::string paso = pasos.substr(i, fin - i);
            i = fin == std::string::npos ? pasos.size() : fin + (paso[0] == '<' ? 1 : 0);
            if (paso[0] != '<') {
                Teclear(ventana, paso);
                continue;
            }
            paso.erase(0, 1);
            uint32_t modificadores = 0;
            for (; paso.size() > 2 && paso[1] == '-'; paso.erase(0, 2))
                modificadores |= paso[0] == 'C' ? Lx::kControl : Lx::kShift;
            if (!kOrdenes.contains(paso)) Tecla(ventana, kTeclas.at(paso), modificadores);
            if (kOrdenes.contains(paso)) Orden(ventana, kOrdenes.at(paso), &portapapeles);
        }
    }

    // The text with the selection in brackets and "|" at the caret.
    std::string Estado() const {
        const Lx::AccessibleInfo info = edit->Accessibility();
        const bool hay = info.selectionEnd > info.selectionStart;
        std::string salida;
        int punto = 0;
        const auto marcar = [&] {
            salida += hay && punto == info.selectionStart ? "[" : "";
            salida += punto == info.caret ? "|" : "";
            salida += hay && punto == info.selectionEnd ? "]" : "";
            ++punto;
        };
        for (const char c : info.value) {
            if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) marcar();
            salida += c;
        }
        marcar();
        return salida;
    }

    Falso::Aplicacion app;
    VentanaTestigo ventana;
    Lx::CEdit* edit = new Lx::CEdit;
    std::string portapapeles;
    std::vector<std::string> avisos;
};

TEST_F(Edicion, KeysGiveTextCaretAndSelection) {
    const Apoyo::Filas<const char*, const char*> casos = {
        {"añ€😀", "añ€😀|"},
        {"ñandú<Izq><Borrar><Inicio><Supr>", "|anú"},
        {"hola<S-Izq><S-Izq><Izq>", "ho|la"},
        {"hola<Inicio><S-Fin><Supr>", "|"},
        {"uno  dos-tres<C-Izq><C-Izq><C-Izq>", "uno  |dos-tres"},
        {"uno  dos<Inicio><C-Der>", "uno  |dos"},
        {"uno dos<C-Borrar>", "uno |"},

        // A mark goes with its letter.
        {"xe\xCC\x81<Borrar>", "x|"},
        {"uno dos<deshacer><deshacer><rehacer>", "uno |"},
        {"abc<Izq>x<deshacer>", "ab|c"},
        {"abc<deshacer>x<rehacer>", "x|"},

        {"abc<todo>x<deshacer>", "[abc|]"},
        {"abc<S-Izq><cortar><Inicio><pegar>", "c|ab"},
    };
    for (const auto& [pasos, estado] : casos) {
        edit->SetText("");
        portapapeles.clear();
        Hacer(pasos);
        EXPECT_EQ(Estado(), estado) << pasos;
    }
}

TEST_F(Edicion, TakesOnlyCleanTextUpToItsLength) {
    const Apoyo::Filas<const char*, int, const char*> casos = {
        {"1\r\n2\n3\r4\n", 0, "1 2 3 4"},
        {"a\x01\x7F\tb\xC2\x85", 0, "a b "},
        {"a\xFF\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80\xE2\x82z", 0, "az"},
        {"áéíóú", 3, "áéí"},
    };
    for (const auto& [pegado, maximo, texto] : casos) {
        edit->SetText("");
        edit->SetMaxLength(maximo);
        portapapeles = pegado;
        Hacer("<pegar>");
        EXPECT_EQ(edit->GetText(), texto);
    }
}

TEST_F(Edicion, MouseSelects) {
    const auto x = [](int caracter) { return 19 + 7 * caracter; };
    edit->SetText("uno dos tres");
    Clic(ventana, x(5) + 1, 20);
    EXPECT_EQ(Estado(), "uno d|os tres");
    Raton(ventana, EventType::MouseDown, x(2) + 5, 20);
    Raton(ventana, EventType::MouseMove, x(6) + 1, 190);
    Raton(ventana, EventType::MouseUp, x(6) + 1, 190);
    EXPECT_EQ(Estado(), "uno[ do|]s tres");
    Falso::DobleClic(ventana, x(5), 20);
    EXPECT_EQ(Estado(), "uno [dos|] tres");
}

TEST_F(Edicion, TheMenuDoesWhatTheKeysDo) {
    edit->onChange = [this](const std::string& texto) { Anotar(texto); };
    edit->SetText("uno dos");
    const auto elegir = [this](const std::string& texto) {
        ElMundo().elegirOrden = Elegir(texto);
        Raton(ventana, EventType::MouseUp, 30, 20, Lx::kRightButton);
    };
    EXPECT_ANY_THROW(elegir("Copiar")) << "nothing is selected";
    elegir("Seleccionar todo");
    elegir("Cortar");
    EXPECT_EQ(ElMundo().portapapeles + "/" + Estado(), "uno dos/|");
    elegir("Pegar");
    elegir("Pegar");
    EXPECT_EQ(Estado(), "uno dosuno dos|");
    elegir("Deshacer");
    EXPECT_EQ(Estado(), "uno dos|");
    EXPECT_THAT(avisos, ElementsAre("", "uno dos", "uno dosuno dos", "uno dos"));
    edit->SetMasked(true);
    elegir("Seleccionar todo");
    EXPECT_ANY_THROW(elegir("Copiar")) << "a secret stays inside";
    ElMundo().elegirOrden = [this](const auto& ordenes) {
        ventana.RemoveControl(edit, true);
        return ordenes.back().command;
    };
    Raton(ventana, EventType::MouseUp, 30, 20, Lx::kRightButton);
}

TEST_F(Edicion, CaretStaysInSightAndADragScrolls) {
    edit->SetText(std::string(100, 'x'));
    EXPECT_THAT(Falso::Pintar(*edit), Contains(HasSubstr("FillRect 218,")));
    Raton(ventana, EventType::MouseDown, 100, 20);
    Raton(ventana, EventType::MouseMove, -30, 20);
    const int antes = edit->Accessibility().caret;
    EXPECT_EQ(Falso::HacerTareas(), 1U);
    EXPECT_LT(edit->Accessibility().caret, antes);
}

TEST_F(Edicion, EnterGoesToTheHandlerOrToTheWindow) {
    Hacer("7<Intro>");
    EXPECT_EQ(ventana.tecla, KeyCode::Enter);
    ventana.tecla = KeyCode::Unknown;
    edit->OnEnter<Edicion>(this, &Edicion::Anotar);
    edit->OnChange<Edicion>(this, &Edicion::Anotar);
    edit->SetText("3 / 12");
    Hacer("<Intro><S-Inicio>9<Fin><copiar>");
    EXPECT_EQ(ventana.tecla, KeyCode::Unknown);
    EXPECT_THAT(avisos, testing::ElementsAre("3 / 12", "9"));
    edit->OnChange<Edicion>(this, &Edicion::Quitar);
    Hacer("x");
}

TEST_F(Edicion, FocusSelectsUnlessThePointerBroughtItOrTheTextIsSecret) {
    auto* otro = new Lx::CEdit("otro");
    otro->rect = {10, 60, 218, 30};
    ventana.AddControl(otro);
    edit->SetText("uno");
    Clic(ventana, 30, 70);
    Clic(ventana, 19, 20);
    EXPECT_EQ(Estado(), "|uno");
    Tecla(ventana, KeyCode::Tab);
    Tecla(ventana, KeyCode::Tab);
    EXPECT_EQ(Estado(), "[uno|]");
    edit->SetMasked(true);
    Tecla(ventana, KeyCode::Tab);
    Tecla(ventana, KeyCode::Tab, Lx::kShift);
    Hacer("4");
    EXPECT_EQ(edit->GetText(), "uno4");
}

TEST_F(Edicion, AMaskedTextStaysInside) {
    edit->SetMasked(true);
    Hacer("12 34");
    portapapeles = "antes";
    Hacer("<todo><copiar><cortar>");
    EXPECT_EQ(portapapeles, "");
    EXPECT_EQ(edit->GetText(), "12 34");
    const Lx::AccessibleInfo info = edit->Accessibility();
    EXPECT_EQ(info.role, Lx::AccessibleRole::PasswordEdit);
    EXPECT_EQ(info.value, "");
    EXPECT_THAT(Falso::Pintar(*edit), Not(Contains(HasSubstr("DrawText"))));
    Hacer("<Fin><C-Izq>0<C-Supr><deshacer>");
    portapapeles = "99";
    Hacer("<pegar>");
    EXPECT_EQ(edit->GetText() + "/" + portapapeles, "099/");
}

TEST_F(Edicion, AMaskedTextLeavesNothingInMemory) {
    edit->onChange = edit->onEnter = [](const std::string& /*texto*/) {};
    edit->SetMasked(true);
    aguja = "5837205837205837205837205837205837205837";
    for (int i = 0; i < 200; ++i) Teclear(ventana, "583720");
    Tecla(ventana, KeyCode::Enter);
    const char* memoria = edit->GetText().data();
    const size_t bytes = edit->GetText().size();
    Hacer("<todo><Supr>");
    EXPECT_EQ(std::string_view(memoria, bytes).find(aguja), std::string_view::npos);
    for (int i = 0; i < 20; ++i) Teclear(ventana, "583720");
    ventana.RemoveControl(edit, true);
    aguja = nullptr;
    EXPECT_EQ(std::exchange(delatores, 0), 0);
}

}  // namespace
