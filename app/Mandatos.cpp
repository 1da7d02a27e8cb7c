#include "app/Mandatos.h"

#include <algorithm>
#include <iterator>

#include "app/AjusteTexto.h"
#include "app/MainWindow.h"

namespace Orvanta {

namespace {

constexpr struct {
    Lx::KeyCode codigo;
    const char* nombre;
} kTeclas[] = {
    {Lx::KeyCode::Left, "Izquierda"}, {Lx::KeyCode::Right, "Derecha"}, {Lx::KeyCode::F1, "F1"},
    {Lx::KeyCode::F3, "F3"},          {Lx::KeyCode::F9, "F9"},         {Lx::KeyCode::F10, "F10"},
    {Lx::KeyCode::F11, "F11"},
};

}  // namespace

std::string TextoDe(const Tecla& tecla) {
    std::string texto;
    if (tecla.letra != 0 || (tecla.con & Lx::kControl) != 0) texto += "Ctrl+";
    if ((tecla.con & Lx::kShift) != 0) texto += "Mayús+";
    if ((tecla.con & Lx::kOption) != 0) texto += "Alt+";
    if (tecla.letra != 0) return texto + tecla.letra;
    for (const auto& fila : kTeclas)
        if (fila.codigo == tecla.codigo) return texto + fila.nombre;
    return {};
}

const std::vector<Ayuda>& Gestos() {
    static const std::vector<Ayuda> kGestos = {
        {"AvPág, RePág", "Pasar a la página siguiente o a la anterior"},
        {"Inicio, Fin", "Ir a la primera página o a la última"},
        {"Flechas, rueda", "Moverse por la página"},
        {"Ctrl+rueda, pellizco", "Acercar o alejar donde está el puntero"},
        {"Espacio y arrastrar", "Mover la página; también con el botón central"},
        {"Arrastrar, doble clic", "Seleccionar texto, o una palabra"},
        {"Mayús+F10, botón derecho", "Menú de lo que se puede hacer en la página"},
        {"Tab, Mayús+Tab", "Pasar al control siguiente o al anterior"},
        {"Espacio", "Pulsar el botón en el que se está"},
        {"Escape", "Cerrar la búsqueda, quitar el aviso, dejar la pantalla completa o cancelar lo que está en marcha"},
    };
    return kGestos;
}

}  // namespace Orvanta

using Lx::KeyCode;
using Orvanta::Grupo;
using Orvanta::TextoDe;
using W = CMainWindow;

namespace {

constexpr Orvanta::Tecla Ctrl(char letra) {
    return {KeyCode::Unknown, letra, 0};
}
constexpr Orvanta::Tecla Codigo(KeyCode codigo, unsigned con = 0) {
    return {codigo, 0, con};
}

constexpr struct {
    Grupo grupo;
    const char* nombre;
} kSubmenus[] = {{Grupo::Zoom, "Zoom"}, {Grupo::Tema, "Tema"}};

constexpr size_t kLetrasReciente = 60;

}  // namespace

std::span<const W::Mandato> W::Mandatos() {
    // What isn't in the menu has a button, or is there only for the hand that knows its key.
    constexpr auto kMenu = Mandato::kEnMenu, kAmbos = Mandato::kEnMenu | Mandato::kEnContexto;
    static constexpr Mandato kMandatos[] = {
        {"Abrir un documento…", Ctrl('O'), Grupo::Documento, kMenu, &W::OnAbrir},
        {"Abrir en otra ventana…", {}, Grupo::Documento, kMenu, &W::OnAbrirAparte},
        {"Imprimir…", Ctrl('P'), Grupo::Documento, kMenu, &W::OnImprimir, &W::HayPaginas},
        {"Buscar…", Ctrl('F'), Grupo::Editar, kMenu, &W::OnBuscar, &W::HayPaginas},
        {"Buscar lo seleccionado", {}, Grupo::Editar, Mandato::kEnContexto, &W::OnBuscar, &W::HaySeleccion},
        {"Buscar el siguiente", Codigo(KeyCode::F3), Grupo::Editar, 0, &W::OnBuscarSiguiente, &W::HayPaginas},
        {"Buscar el anterior", Codigo(KeyCode::F3, Lx::kShift), Grupo::Editar, 0, &W::OnBuscarAnterior, &W::HayPaginas},
        {"Copiar", Ctrl('C'), Grupo::Editar, kAmbos, &W::OnCopiar, &W::HaySeleccion},
        {"Seleccionar todo", Ctrl('A'), Grupo::Editar, kAmbos, &W::OnSeleccionarTodo, &W::HayPaginas},
        {"Acercar", Ctrl('+'), Grupo::Zoom, kAmbos, &W::OnAcercar, &W::HayPaginas},
        {"Alejar", Ctrl('-'), Grupo::Zoom, kAmbos, &W::OnAlejar, &W::HayPaginas},
        {"Tamaño real (100 %)", Ctrl('0'), Grupo::Zoom, kAmbos, &W::OnTamanoReal, &W::HayPaginas},
        {"Ajustar al ancho", {}, Grupo::Zoom, kAmbos, &W::OnAjustarAncho, &W::HayPaginas, &W::AjustaAncho},
        {"Ajustar a la página", {}, Grupo::Zoom, kAmbos, &W::OnAjustarPagina, &W::HayPaginas, &W::AjustaPagina},
        {"Una página cada vez", {}, Grupo::Ver, kMenu, &W::OnUnaPagina, &W::HayPaginas, &W::EsUnaPagina},
        {"Girar a la derecha", Ctrl('R'), Grupo::Ver, kAmbos, &W::OnGirarDerecha, &W::HayPaginas},
        {"Girar a la izquierda", Ctrl('L'), Grupo::Ver, kAmbos, &W::OnGirarIzquierda, &W::HayPaginas},
        {"Panel lateral", Codigo(KeyCode::F9), Grupo::Ver, kMenu, &W::OnPanel, nullptr, &W::HayPanel},
        {"Pantalla completa", Codigo(KeyCode::F11), Grupo::Ver, kMenu, &W::OnPantallaCompleta, nullptr, &W::EsCompleta},
        {"Volver adonde estabas", Codigo(KeyCode::Left, Lx::kOption), Grupo::Ir, kMenu, &W::OnAtras, &W::HayPaginas},
        {"Ir adonde volviste", Codigo(KeyCode::Right, Lx::kOption), Grupo::Ir, kMenu, &W::OnAdelante, &W::HayPaginas},
        {"Según el escritorio", {}, Grupo::Tema, kMenu, &W::OnTemaEscritorio, nullptr, &W::EsTemaEscritorio},
        {"Claro", {}, Grupo::Tema, kMenu, &W::OnTemaClaro, nullptr, &W::EsTemaClaro},
        {"Oscuro", {}, Grupo::Tema, kMenu, &W::OnTemaOscuro, nullptr, &W::EsTemaOscuro},
        {"No guardar documentos recientes", {}, Grupo::Programa, kMenu, &W::OnSinRecientes, nullptr, &W::SinRecientes},
        {"Diagnóstico de la tarjeta…", {}, Grupo::Programa, kMenu, &W::OnDiagnostico},
        {"Ayuda", Codigo(KeyCode::F1), Grupo::Programa, kMenu, &W::OnAyuda},
        {"Abrir este menú", Codigo(KeyCode::F10), Grupo::Programa, 0, &W::OnMenu},
        {"Cerrar esta ventana", Ctrl('W'), Grupo::Programa, kMenu, &W::OnCerrar},
        {"Cerrar todas las ventanas", Ctrl('Q'), Grupo::Programa, kMenu, &W::OnCerrarTodas},
    };
    return kMandatos;
}

bool W::Mandar(size_t cual) {
    const Mandato& m = Mandatos()[cual];
    if (m.puede == nullptr || (this->*m.puede)()) (this->*m.hacer)();
    return true;
}

bool W::MandarTecla(const Orvanta::Tecla& tecla) {
    const std::span<const Mandato> todos = Mandatos();
    for (size_t i = 0; i < todos.size(); ++i)
        if (todos[i].tecla.Hay() && todos[i].tecla == tecla) return Mandar(i);
    return false;
}

std::vector<Lx::MenuItem> W::Menu(unsigned donde) const {
    std::vector<Lx::MenuItem> menu;
    const std::span<const Mandato> todos = Mandatos();
    Grupo antes = Grupo::Documento;
    for (size_t i = 0; i < todos.size(); ++i) {
        const Mandato& m = todos[i];
        if ((m.donde & donde) == 0) continue;
        if (m.grupo != antes && !menu.empty()) menu.emplace_back();
        antes = m.grupo;
        std::vector<Lx::MenuItem>* lista = &menu;
        for (const auto& sub : kSubmenus) {
            if (sub.grupo != m.grupo || donde != Mandato::kEnMenu) continue;
            if (menu.empty() || menu.back().text != sub.nombre) {
                if (!menu.empty() && menu.back().text.empty()) menu.pop_back();
                menu.push_back({.text = sub.nombre, .shortcut = ""});
            }
            lista = &menu.back().items;
        }
        lista->push_back({.text = m.nombre,
                          .shortcut = TextoDe(m.tecla),
                          .enabled = m.puede == nullptr || (this->*m.puede)(),
                          .checkable = m.marcado != nullptr,
                          .checked = m.marcado != nullptr && (this->*m.marcado)(),
                          .command = static_cast<int>(i) + 1});
    }
    return menu;
}

void W::OnMenu() {
    std::vector<Lx::MenuItem> menu = Menu(Mandato::kEnMenu);
    // Behind the commands that open one.
    const std::vector<Orvanta::Reciente> recientes =
        preferencias_.recientes ? recientes_.Ver() : std::vector<Orvanta::Reciente>();
    Lx::MenuItem lista{.text = "Recientes", .shortcut = "", .enabled = !recientes.empty()};
    for (size_t i = 0; i < recientes.size(); ++i)
        lista.items.push_back({.text = Orvanta::ConFinal(Orvanta::SinControl(recientes[i].ruta), kLetrasReciente),
                               .shortcut = "",
                               .command = static_cast<int>(Mandatos().size() + i) + 1});
    menu.insert(menu.begin() + 2, lista);
    const Lx::Rect& r = menu_->rect;
    const int elegido = ElegirEnMenu(menu, {r.x, r.y + r.h});
    if (elegido < 1) return;
    const auto cual = static_cast<size_t>(elegido) - 1;
    if (cual < Mandatos().size())
        Mandar(cual);
    else if (cual - Mandatos().size() < recientes.size() && Libre())
        Abrir(recientes[cual - Mandatos().size()].ruta);
}

void W::OnContexto(const Lx::Point& pt) {
    if (!HayPaginas()) return;
    const int elegido = ElegirEnMenu(Menu(Mandato::kEnContexto), pt);
    if (elegido > 0) Mandar(static_cast<size_t>(elegido) - 1);
}

std::vector<Orvanta::Ayuda> W::LineasDeAyuda() {
    std::vector<Orvanta::Ayuda> lineas;
    for (const Mandato& m : Mandatos())
        if (m.tecla.Hay()) lineas.push_back({TextoDe(m.tecla), m.nombre});
    lineas.insert(lineas.end(), Orvanta::Gestos().begin(), Orvanta::Gestos().end());
    for (const Mandato& m : Mandatos())
        if (!m.tecla.Hay() && (m.donde & Mandato::kEnMenu) != 0) lineas.push_back({"Menú", m.nombre});
    return lineas;
}
