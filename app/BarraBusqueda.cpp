#include "app/BarraBusqueda.h"

#include "app/AjusteTexto.h"
#include "ui/LxButton.h"
#include "ui/LxEdit.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr unsigned kReposo = 150;  // ms without a key
constexpr size_t kMinLetras = 2;
constexpr int kMaxLetras = 200;
constexpr int kMargen = 8, kHueco = 6, kAltoControl = 28;
constexpr int kAnchoEdicion = 190;
constexpr int kLetraCuenta = 12;

[[nodiscard]] bool Basta(const std::string& texto) {
    return Orvanta::FinDeCaracteres(texto, kMinLetras) != texto.npos;
}

[[nodiscard]] std::string TextoDe(const Lx::SearchState& s, int paginas) {
    if (s.running) {
        const std::string n = std::to_string(s.hits);
        const std::string hasta = s.current > 0 ? std::to_string(s.current) + " de " + n : n;
        return hasta + " hasta ahora (página " + std::to_string(s.pagesDone) + " de " + std::to_string(paginas) + ")";
    }
    if (s.hits == 0) return "No se encuentra";
    return std::to_string(s.current) + " de " + std::to_string(s.hits);
}

}  // namespace

CBarraBusqueda::CBarraBusqueda(Lx::CWindow& ventana, std::shared_ptr<Correo> correo, std::function<void()> alCambiar)
    : ventana_(ventana), correo_(std::move(correo)), alCambiar_(std::move(alCambiar)) {
    visible = false;
    ventana_.AddControl(this);
    texto_ = ventana_.AddEdit("", {});
    texto_->SetPlaceholder("Buscar en el documento");
    texto_->SetMaxLength(kMaxLetras);
    texto_->OnChange(this, &CBarraBusqueda::OnTexto);
    anterior_ = ventana_.AddButton("Anterior", {});
    anterior_->OnClick(this, &CBarraBusqueda::Anterior);
    siguiente_ = ventana_.AddButton("Siguiente", {});
    siguiente_->OnClick(this, &CBarraBusqueda::Siguiente);
    cuenta_ = ventana_.AddLabel("", {});
    cuenta_->fontSize = kLetraCuenta;
    exacto_ = ventana_.AddButton("Exacto", {});
    exacto_->checkable = true;
    exacto_->OnClick(this, &CBarraBusqueda::OnExacto);
    cerrar_ = ventana_.AddButton("Cerrar", {});
    cerrar_->OnClick(this, &CBarraBusqueda::Cerrar);
    Mostrar(false);
}

void CBarraBusqueda::Mostrar(bool si) {
    for (Lx::CControl* c :
         {static_cast<Lx::CControl*>(this), static_cast<Lx::CControl*>(texto_), static_cast<Lx::CControl*>(anterior_),
          static_cast<Lx::CControl*>(siguiente_), static_cast<Lx::CControl*>(cuenta_),
          static_cast<Lx::CControl*>(exacto_), static_cast<Lx::CControl*>(cerrar_)})
        c->visible = si;
}

void CBarraBusqueda::Vestir(const Paleta::Colores& paleta) {
    for (Lx::CButton* b : {anterior_, siguiente_, exacto_}) Paleta::VestirBoton(*b, paleta, false);
    Paleta::VestirMarcado(*exacto_, paleta);
    Paleta::VestirBoton(*cerrar_, paleta, false);
    cuenta_->SetTextColor(paleta[Paleta::kTexto]);
}

void CBarraBusqueda::OnThemeChanged() {
    Vestir(Paleta::DelTema());
}

void CBarraBusqueda::OnPaint(Lx::CCanvas* canvas) {
    canvas->FillRect(rect, Lx::ThemeColor(Lx::ColorRole::AppPanel));
    canvas->DrawRect(rect, Lx::ThemeColor(Lx::ColorRole::AppBorder), 1);
}

void CBarraBusqueda::Colocar(const Lx::Rect& franja) {
    rect = franja;
    const int y = franja.y + (franja.h - kAltoControl) / 2;
    int izquierda = franja.x + kMargen, derecha = franja.x + franja.w - kMargen;
    const auto alFinal = [&](Lx::CControl* c, int ancho) {
        derecha -= ancho;
        c->rect = {derecha, y, ancho, kAltoControl};
        derecha -= kHueco;
    };
    alFinal(cerrar_, 66);
    alFinal(exacto_, 66);
    texto_->rect = {izquierda, y, kAnchoEdicion, kAltoControl};
    izquierda += kAnchoEdicion + kHueco;
    for (Lx::CControl* c : {anterior_, siguiente_}) {
        c->rect = {izquierda, y, 74, kAltoControl};
        izquierda += 74 + kHueco;
    }
    cuenta_->rect = {izquierda + kHueco, y + kAltoControl / 2 - kLetraCuenta + 3, derecha - izquierda - kHueco,
                     kLetraCuenta + 6};
}

// --- Searching

void CBarraBusqueda::Abrir(const std::string& texto) {
    const bool nueva = !visible;
    Mostrar(true);
    if (nueva) alCambiar_();
    if (!texto.empty()) texto_->SetText(texto);
    texto_->SelectAll();
    ventana_.SetFocusControl(texto_);
    if (nueva || !texto.empty()) Buscar();
}

void CBarraBusqueda::Cerrar() {
    if (!visible) return;
    ++vez_;
    buscado_.clear();
    vista_->Search("", false);
    Mostrar(false);
    ventana_.SetFocusControl(vista_);
    alCambiar_();
}

void CBarraBusqueda::OnTexto(const std::string&) {
    correo_->Luego(kReposo, [this, vez = ++vez_] {
        if (vez == vez_ && visible) Buscar();
    });
}

void CBarraBusqueda::OnExacto() {
    buscado_.clear();
    Buscar();
}

void CBarraBusqueda::Buscar() {
    ++vez_;
    const std::string texto = Basta(texto_->GetText()) ? texto_->GetText() : std::string();
    if (texto == buscado_) return AlBuscar();
    buscado_ = texto;
    vista_->Search(texto, exacto_->checked);
    AlBuscar();
}

bool CBarraBusqueda::EnMarcha() {
    if (!visible) {
        Abrir("");
        return false;
    }
    if (texto_->GetText() == buscado_ && !buscado_.empty()) return true;
    Buscar();
    return false;
}

void CBarraBusqueda::Siguiente() {
    if (EnMarcha()) vista_->SearchNext();
}

void CBarraBusqueda::Anterior() {
    if (EnMarcha()) vista_->SearchPrevious();
}

void CBarraBusqueda::AlBuscar() {
    cuenta_->SetText(buscado_.empty() ? "" : TextoDe(vista_->GetSearch(), vista_->GetPageCount()));
    ventana_.Invalidate(&rect);
}

bool CBarraBusqueda::TieneElFoco() const {
    return visible && ventana_.focus == texto_;
}
