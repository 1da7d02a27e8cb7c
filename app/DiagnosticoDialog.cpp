#include "app/DiagnosticoDialog.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "app/AjusteTexto.h"
#include "app/Etapas.h"
#include "app/Teclado.h"
#include "ui/LxApp.h"
#include "ui/LxButton.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;
using Lx::Dnie::Paso;

namespace {

constexpr int kAncho = 620;
constexpr int kAlto = 500;
constexpr int kMargen = 24;
constexpr int kEstado = 76;  // width of a step's outcome
constexpr int kAltoLinea = 16;
constexpr int kLetra = 12;
constexpr int kHueco = 8;  // from step to step

// By the machine names of the steps, in their order.
constexpr struct {
    std::string_view nombre;
    const char* titulo;
} kTitulos[] = {
    {"servicio", "Servicio de tarjetas"}, {"lectores", "Lector de tarjetas"},       {"tarjeta", "Tarjeta en el lector"},
    {"perfil", "Documento de identidad"}, {"certificados", "Certificado de firma"}, {"firma", "Firma"},
};

[[nodiscard]] const char* TituloDe(std::string_view nombre) {
    const auto* fila =
        std::find_if(std::begin(kTitulos), std::end(kTitulos), [&](const auto& f) { return f.nombre == nombre; });
    return fila == std::end(kTitulos) ? "" : fila->titulo;
}

[[nodiscard]] int Lineas(const std::string& texto) {
    return texto.empty() ? 0 : static_cast<int>(std::count(texto.begin(), texto.end(), '\n')) + 1;
}

}  // namespace

CDiagnosticoDialog::CDiagnosticoDialog(Lx::CWindow* padre, const Paleta::Colores& paleta)
    : CDialog(padre), paleta_(paleta), correo_(std::make_shared<Correo>()) {
    title = "Diagnóstico de la tarjeta";
    rect = {0, 0, kAncho, kAlto};
    backColor = paleta_[Paleta::kFondo];
}

CDiagnosticoDialog::~CDiagnosticoDialog() {
    correo_->Cerrar();
}

Lx::CLabel* CDiagnosticoDialog::Etiqueta(const Lx::Rect& donde, Paleta::Rol color, int tamano) {
    Lx::CLabel* l = AddLabel("", donde);
    l->SetTextColor(paleta_[color]);
    l->fontSize = tamano;
    return l;
}

bool CDiagnosticoDialog::OnInit() {
    SetResizable(false);
    resumen_ = Etiqueta({kMargen, 16, kAncho - 2 * kMargen, 22}, Paleta::kTitulo, 14);
    resumen_->bold = true;
    for (Fila& f : filas_) {
        f.estado = Etiqueta({}, Paleta::kTextoSuave, kLetra);
        f.titulo = Etiqueta({}, Paleta::kTexto, kLetra);
        f.estado->bold = f.titulo->bold = true;
        f.texto = Etiqueta({}, Paleta::kTextoSuave, kLetra);
    }
    notas_ = Etiqueta({}, Paleta::kTextoSuave, 11);
    const int y = kAlto - kMargen - 34;
    copiar_ = AddButton("Copiar", {kAncho - kMargen - 206, y, 98, 34});
    Paleta::VestirBoton(*copiar_, paleta_, false);
    copiar_->OnClick(this, &CDiagnosticoDialog::OnCopiar);
    copiar_->SetEnabled(false);
    Lx::CButton* cerrar = AddButton("Cerrar", {kAncho - kMargen - 98, y, 98, 34});
    Paleta::VestirBoton(*cerrar, paleta_, true);
    cerrar->OnClick(this, &CDiagnosticoDialog::OnCerrar);
    SetFocusControl(cerrar);
    vigilante_ =
        std::make_unique<Lx::Firma::Vigilante>([correo = correo_, this] { correo->Enviar([this] { OnTarjeta(); }); });
    Examinar();
    return true;
}

void CDiagnosticoDialog::OnDestroy() {
    vigilante_.reset();
    tarea_.Abandonar();
    CDialog::OnDestroy();
}

// What was found before stays on the screen until there is more.
void CDiagnosticoDialog::Examinar() {
    otraVez_ = false;
    resumen_->SetTextColor(paleta_[Paleta::kTitulo]);
    resumen_->SetText("Comprobando la tarjeta…");
    tarea_.Preparar();
    auto examen = std::make_shared<Lx::Firma::Diagnosticar>("");
    tarea_.Empezar(
        examen, [this](const auto& estado) { resumen_->SetText(Orvanta::FraseDe(estado)); },
        [this, examen] {
            Mostrar(examen->Respuesta());
            if (otraVez_) Examinar();
        });
}

void CDiagnosticoDialog::OnTarjeta() {
    if (tarea_.EnMarcha())
        otraVez_ = true;
    else
        Examinar();
}

void CDiagnosticoDialog::Mostrar(const Lx::Firma::Diagnostico& diagnostico) {
    const Lx::Dnie::Diagnostico& d = diagnostico.tarjeta;
    resumen_->SetTextColor(paleta_[d.puedeFirmar ? Paleta::kExito : Paleta::kError]);
    resumen_->SetText(d.puedeFirmar ? "Se puede firmar con esta tarjeta." : "Todavía no se puede firmar con tarjeta.");
    int y = 50;
    for (size_t i = 0; i < filas_.size(); ++i) PonerFila(filas_[i], i < d.pasos.size() ? d.pasos[i] : Paso{}, y);
    std::string notas = Lx::Firma::AvisoDeIntentos(diagnostico);
    for (const std::string& linea : diagnostico.protecciones)
        notas += (notas.empty() ? "" : "\n") + Orvanta::EnLineas(linea, notas_->fontSize, kAncho - 2 * kMargen);
    notas_->rect = {kMargen, y + kHueco, kAncho - 2 * kMargen, Lineas(notas) * kAltoLinea};
    notas_->SetText(notas);
    informe_ = Lx::Firma::Informe(diagnostico, false);
    copiar_->SetText("Copiar");
    copiar_->SetEnabled(true);
    Invalidate(nullptr);
}

void CDiagnosticoDialog::PonerFila(Fila& fila, const Paso& paso, int& y) {
    const Paleta::Rol color = !paso.probado ? Paleta::kTextoSuave : paso.ok ? Paleta::kExito : Paleta::kError;
    const int x = kMargen + kEstado;
    const int ancho = kAncho - kMargen - x;
    std::string texto = paso.probado ? Orvanta::EnLineas(Lx::ComoFrase(paso.texto), kLetra, ancho) : "";
    if (!paso.consejo.empty())
        texto += "\n" + Orvanta::EnLineas("Qué hacer: " + Lx::ComoFrase(paso.consejo), kLetra, ancho);
    fila.estado->rect = {kMargen, y, kEstado, kAltoLinea};
    fila.estado->SetTextColor(paleta_[color]);
    fila.estado->SetText(!paso.probado ? "sin probar" : paso.ok ? "bien" : "falla");
    fila.titulo->rect = {x, y, ancho, kAltoLinea};
    fila.titulo->SetText(TituloDe(paso.nombre));
    y += kAltoLinea + 2;
    fila.texto->rect = {x, y, ancho, Lineas(texto) * kAltoLinea};
    fila.texto->SetTextColor(paleta_[paso.probado && !paso.ok ? Paleta::kTexto : Paleta::kTextoSuave]);
    fila.texto->SetText(texto);
    y += fila.texto->rect.h + kHueco;
}

void CDiagnosticoDialog::OnKeyDown(Lx::KeyCode key, unsigned) {
    if (key == Lx::KeyCode::Escape) OnCerrar();
    if (key == Lx::KeyCode::Enter && !Orvanta::PulsarFoco(*this)) OnCerrar();
}

void CDiagnosticoDialog::OnChar(unsigned ch) {
    if (ch == ' ') Orvanta::PulsarFoco(*this);
}

void CDiagnosticoDialog::OnCopiar() {
    Lx::LxApp::s_pApp->backend->SetClipboard(informe_);
    copiar_->SetText("Copiado");
}

void CDiagnosticoDialog::OnCerrar() {
    EndDialog(Lx::kCancelled);
}
