// The lower half of the certificate dialog: where the stamp goes, and where the signed copy does.
#include <iterator>

#include "app/AjusteTexto.h"
#include "app/Campo.h"
#include "app/DlgFirmar.h"
#include "crypto/LxApi.h"
#include "firma/LxExaminar.h"
#include "ui/LxButton.h"
#include "ui/LxComboBox.h"
#include "ui/LxEdit.h"
#include "ui/LxFileDialog.h"
#include "ui/LxLabel.h"

namespace Paleta = Orvanta::Paleta;

namespace {

constexpr size_t kCaracteres = 44;  // of a folder's path, whose end tells it from others

// In the order of the list, which is not that of the engine's modes.
constexpr struct {
    const char* texto;
    LxPdfSigner::Sello modo;
} kSellos[] = {
    {"Primera pagina (defecto)", LxPdfSigner::kPrimera},
    {"Todas las paginas", LxPdfSigner::kTodas},
    {"Ultima pagina", LxPdfSigner::kUltima},
    {"Paginas especificas...", LxPdfSigner::kPaginas},
    {"Invisible (sin sello)", LxPdfSigner::kInvisible},
};

}  // namespace

void CDlgFirmar::MontarSello() {
    AddLabel("Sello visual", {16, 348, 85, 24})->fontSize = 12;
    std::vector<std::string> textos;
    for (const auto& fila : kSellos) textos.emplace_back(fila.texto);
    sello_ = AddComboBox(textos, {105, 346, 230, 28});
    sello_->SetSelected(0);
    sello_->OnSelectionChanged(this, &CDlgFirmar::OnSelSello);
    etiquetaPaginas_ = Etiqueta("Paginas:", {350, 350, 55, 20}, Paleta::kTextoSuave, 12);
    edicionPaginas_ = AddEdit("", {410, 346, 234, 28});
    edicionPaginas_->SetPlaceholder("ej. 1, 3, 5-8");
    edicionPaginas_->SetEnabled(false);
    edicionPaginas_->OnEnter(this, &CDlgFirmar::OnEnterLista);
    edicionPaginas_->OnChange(this, &CDlgFirmar::OnCambioLista);
    frasePaginas_ = Etiqueta("", {105, 377, 539, 18}, Paleta::kTextoSuave, 11);
    frasePaginas_->align = 2;
}

void CDlgFirmar::OnSelSello(int indice) {
    const bool valido = indice >= 0 && static_cast<size_t>(indice) < std::size(kSellos);
    modo_ = valido ? kSellos[indice].modo : LxPdfSigner::kPrimera;
    edicionPaginas_->SetEnabled(modo_ == LxPdfSigner::kPaginas);
    if (modo_ == LxPdfSigner::kPaginas) SetFocusControl(edicionPaginas_);
    etiquetaPaginas_->SetTextColor(paleta_[modo_ == LxPdfSigner::kPaginas ? Paleta::kTexto : Paleta::kTextoSuave]);
    ActualizarOpts();
    RevisarPaginas(false);
    Invalidate(nullptr);
}

void CDlgFirmar::ActualizarOpts() {
    paginas_ = modo_ == LxPdfSigner::kPaginas ? edicionPaginas_->GetText() : "";
}

void CDlgFirmar::OnEnterLista(const std::string&) {
    ActualizarOpts();
}

void CDlgFirmar::OnCambioLista(const std::string&) {
    RevisarPaginas(true);
}

// While nothing was written yet, what is missing is no mistake.
void CDlgFirmar::RevisarPaginas(bool escritas) {
    const bool lista = modo_ == LxPdfSigner::kPaginas;
    const std::string& texto = edicionPaginas_->GetText();
    const Lx::Firma::ListaPaginas leida = Lx::Firma::LeerLista(texto, total_);
    listaBuena_ = !lista || leida.cuantas > 0;
    const bool error = !listaBuena_ && (escritas || !texto.empty());
    Orvanta::MarcarCampo(*edicionPaginas_, paleta_, error);
    frasePaginas_->SetTextColor(paleta_[error ? Paleta::kError : Paleta::kTextoSuave]);
    frasePaginas_->SetText(lista ? leida.frase : "");
    ActivarFirmar();
}

// --- Where the signed copy goes

void CDlgFirmar::MontarDestino() {
    Etiqueta("Documento: " + Orvanta::SinControl(Orvanta::NombreFichero(documento_)), {16, 403, 290, 15},
             Paleta::kTextoSuave, 11);
    fraseDestino_ = Etiqueta("", {16, 414, 290, 30}, Paleta::kTextoSuave, 11);
    guardarComo_ = AddButton("Guardar como…", {314, 408, 116, 28});
    Paleta::VestirBoton(*guardarComo_, paleta_, false);
    guardarComo_->OnClick(this, &CDlgFirmar::OnGuardarComo);
}

void CDlgFirmar::RevisarDestino() {
    const std::string ruta = salida_.empty() ? Lx::Firma::NombreLibre(documento_, "") : salida_;
    const Lx::Aviso fallo = Lx::Firma::RevisarSalida(ruta, documento_, reemplazar_);
    destinoBueno_ = !fallo;
    std::string frase = "No se puede guardar ahí: elige otro sitio con\n\"Guardar como…\".";
    if (destinoBueno_) {
        const std::string carpeta = Lx::Firma::CarpetaDe(ruta);
        frase = (reemplazar_ ? "Sustituirá a " : "Se guardará como ") +
                Orvanta::SinControl(Orvanta::NombreFichero(ruta)) + "\nen " +
                Orvanta::ConFinal(Orvanta::SinControl(carpeta), kCaracteres);
    }
    fraseDestino_->SetTextColor(paleta_[fallo ? Paleta::kError : Paleta::kTextoSuave]);
    fraseDestino_->SetText(frase);
    if (fallo && !salida_.empty()) MostrarEstado(Lx::ParaLeer(fallo), true);
    ActivarFirmar();
}

void CDlgFirmar::OnGuardarComo() {
    std::string propuesta = salida_.empty() ? Lx::Firma::NombreLibre(documento_, carpeta_) : salida_;
    Lx::CFileDialog dialogo(this);
    dialogo.SetTitle("Guardar el documento firmado");
    dialogo.SetFilter("*.pdf");
    dialogo.SetSave(true);
    dialogo.SetInitialPath(propuesta);
    if (dialogo.DoModal() != Lx::kAccepted) return;
    salida_ = Lx::Firma::ConExtension(dialogo.GetPath());
    // The file dialog asked about the name that was written in it, and about no other.
    reemplazar_ = salida_ == dialogo.GetPath() && Lx::Api::FileExists(salida_);
    RevisarDestino();
    if (destinoBueno_) carpeta_ = Lx::Firma::CarpetaDe(salida_);
    SetFocusControl(destinoBueno_ ? static_cast<Lx::CControl*>(firmar_) : guardarComo_);
}

void CDlgFirmar::ActivarFirmar() {
    firmar_->SetEnabled(haySeleccion_ && aptitud_.Salvable() && listaBuena_ && destinoBueno_);
}
