// The list of the certificate dialog: how it is filled while the window goes on, and what is chosen in it.
#include <algorithm>
#include <utility>

#include "app/AjusteTexto.h"
#include "app/Campo.h"
#include "app/DlgFirmar.h"
#include "app/Etapas.h"
#include "crypto/LxSecreto.h"
#include "ui/LxButton.h"
#include "ui/LxEdit.h"
#include "ui/LxLabel.h"
#include "ui/LxListView.h"

namespace Paleta = Orvanta::Paleta;
using Lx::CertStore::Entrada;
using Lx::CertStore::Origen;

namespace {

constexpr const char* kBuscando = "Buscando certificados…";
constexpr const char* kSinNinguno = "Inserta el DNIe, o indica abajo un fichero PKCS#12 y pulsa Intro.";

constexpr size_t kLargoEmisor = 45;  // in characters; one as long as this is cut
constexpr size_t kCorteEmisor = 43;

[[nodiscard]] std::string EmisorDe(const Entrada& e) {
    const std::string& emisor = e.cert.issuerCN.empty() ? e.cert.issuerDN : e.cert.issuerCN;
    if (Orvanta::FinDeCaracteres(emisor, kLargoEmisor) == emisor.npos) return emisor;
    return emisor.substr(0, Orvanta::FinDeCaracteres(emisor, kCorteEmisor)) + ".";
}

[[nodiscard]] const char* LugarDeClave(const Entrada& e) {
    if (e.origen == Origen::Dnie) return "en la tarjeta (DNIe)";
    if (e.origen != Origen::Pkcs12) return "lista";
    return e.conClave ? "del fichero" : "sin clave";
}

// What speaks against a certificate stands where its key's place would.
[[nodiscard]] std::vector<std::string> FilaDe(const Entrada& e, const Lx::Firma::Aptitud& aptitud) {
    const std::string vence = e.cert.FechaVencimiento();
    return {e.cert.subjectCN.empty() ? "Certificado" : e.cert.subjectCN, Lx::CertStore::NombreOrigen(e.origen),
            EmisorDe(e), vence.empty() ? "-" : vence, aptitud.Apto() ? LugarDeClave(e) : Lx::Firma::EnBreve(aptitud)};
}

[[nodiscard]] bool EsElMismo(const Entrada& a, const Entrada& b) {
    return a.origen == b.origen && a.lector == b.lector && a.cert.der == b.cert.der && a.cert.serial == b.cert.serial;
}

}  // namespace

void CDlgFirmar::Recargar() {
    Listar(Despues::LaPrimera);
}

void CDlgFirmar::Listar(Despues despues) {
    const bool soloTarjeta = despues == Despues::LaMisma;
    otraTarjeta_ = false;
    if (!soloTarjeta) {
        lista_->Clear();
        lista_->SetPlaceholder(kBuscando);
        MostrarEstado("");
        orden_.clear();
        OnLista(-1);
    }
    // No process that others may not look into can show the desktop's dialog.
    for (Lx::CButton* b : {examinar_, guardarComo_}) b->SetEnabled(false);
    tarea_.Preparar();
    auto listado = std::make_shared<Lx::Firma::Listar>(ctx_, Lx::Firma::Preguntas{}, false,
                                                       soloTarjeta ? &certificados_ : nullptr);
    tarea_.Empezar(
        listado,
        [this](const auto& estado) { aviso_->MostrarProgreso(Orvanta::FraseDe(estado), Orvanta::ParteDe(estado)); },
        [this, listado, despues] { OnListado(*listado, despues); });
}

// A card was put in or taken out.
void CDlgFirmar::OnTarjeta() {
    Lx::Limpiar(ctx_.pin);
    if (tarea_.EnMarcha())
        otraTarjeta_ = true;
    else
        Listar(Despues::LaMisma);
}

void CDlgFirmar::OnListado(const Lx::Firma::Listar& listado, Despues despues) {
    aviso_->Quitar();
    for (Lx::CButton* b : {examinar_, guardarComo_}) b->SetEnabled(true);
    certificados_ = listado.Respuesta();
    orden_ = Lx::Firma::OrdenDeEleccion(certificados_.aptitudes);
    const int fila = FilaPara(despues);
    PonerFilas();
    const auto& todas = certificados_.listado.entradas;
    // A reader that gives no card any more must not keep the next listing from choosing another one.
    if (std::none_of(todas.begin(), todas.end(), [](const Entrada& e) { return e.origen == Origen::Dnie; }))
        ctx_.lector.clear();
    const Lx::CertStore::FuenteListada* fichero = certificados_.listado.De(Origen::Pkcs12);
    MostrarEstado(
        certificados_.listado.resumen + (todas.empty() ? "  |  No hay ningun certificado disponible."
                                                       : "  |  " + std::to_string(todas.size()) + " certificado(s)."),
        fichero != nullptr && fichero->fallo);
    DecirFichero(fichero);
    OnLista(-1);
    Seleccionar(fila);
    if (otraTarjeta_) Listar(Despues::LaMisma);
}

void CDlgFirmar::PonerFilas() {
    lista_->Clear();
    lista_->SetPlaceholder(kSinNinguno);
    for (const size_t i : orden_) {
        const Entrada& e = certificados_.listado.entradas[i];
        const Lx::Firma::Aptitud& aptitud = certificados_.aptitudes[i];
        const int fila = lista_->AddItem(FilaDe(e, aptitud));
        if (!aptitud.Apto()) lista_->DimItem(fila, Lx::Firma::Explicar(e, aptitud).frase);
    }
}

const Entrada& CDlgFirmar::EntradaDe(size_t fila) const {
    return certificados_.listado.entradas[orden_[fila]];
}

// A choice that was made is kept, or nothing is chosen: no other certificate steps into its place by itself. Who has
// just named a file means one of its certificates.
int CDlgFirmar::FilaPara(Despues despues) const {
    const bool misma = despues == Despues::LaMisma && haySeleccion_;
    int primera = -1;
    for (size_t fila = orden_.size(); fila-- > 0;) {
        const bool apta = certificados_.aptitudes[orden_[fila]].Apto();
        if (misma ? EsElMismo(EntradaDe(fila), seleccion_) : apta) primera = static_cast<int>(fila);
    }
    if (despues != Despues::LaDelFichero) return primera;
    for (size_t fila = 0; fila < orden_.size(); ++fila)
        if (certificados_.aptitudes[orden_[fila]].Apto() && EntradaDe(fila).origen == Origen::Pkcs12)
            return static_cast<int>(fila);
    return primera;
}

void CDlgFirmar::MostrarEstado(const std::string& texto, bool error) {
    estado_->SetText(texto);
    const bool cabe = Orvanta::Cabe(texto, estado_->fontSize, estado_->rect.w);
    detalle_->SetTextColor(paleta_[error ? Paleta::kError : Paleta::kTextoSuave]);
    detalle_->SetText(cabe ? "" : Orvanta::EnLineas(texto, detalle_->fontSize, detalle_->rect.w));
}

void CDlgFirmar::Seleccionar(int fila) {
    if (fila < 0 || fila >= lista_->GetCount()) return;
    lista_->SetSelected(fila);
    OnLista(fila);
}

void CDlgFirmar::OnLista(int indice) {
    haySeleccion_ = indice >= 0 && static_cast<size_t>(indice) < orden_.size();
    aptitud_ = {};
    if (haySeleccion_) {
        seleccion_ = EntradaDe(static_cast<size_t>(indice));
        aptitud_ = certificados_.aptitudes[orden_[static_cast<size_t>(indice)]];
        const std::string lector = seleccion_.origen == Origen::Dnie ? seleccion_.lector : "";
        // A PIN is of use with its own reader alone.
        if (lector != ctx_.lector) Lx::Limpiar(ctx_.pin);
        ctx_.lector = lector;
    }
    ActivarFirmar();
    if (haySeleccion_) Invalidate(nullptr);
}

void CDlgFirmar::OnActivar(int) {
    OnAceptar();
}

void CDlgFirmar::OnActualizar() {
    TomarPkcs12();
    Recargar();
}

void CDlgFirmar::OnEnterPkcs12(const std::string&) {
    TomarPkcs12();
    conPersona_ = true;
    Listar(Despues::LaDelFichero);
}

void CDlgFirmar::OnCambioPkcs12(const std::string&) {
    for (Lx::CEdit* e : {rutaPkcs12_, clavePkcs12_}) Orvanta::MarcarCampo(*e, paleta_, false);
    detalle_->SetText("");
}

// A file that was found and not opened wants another password; all else is wrong with its name.
void CDlgFirmar::DecirFichero(const Lx::CertStore::FuenteListada* fichero) {
    const bool fallo = fichero != nullptr && fichero->fallo;
    const bool clave = fallo && fichero->fallo.motivo == Lx::Motivo::Pkcs12NoAbre;
    Orvanta::MarcarCampo(*rutaPkcs12_, paleta_, fallo && !clave);
    Orvanta::MarcarCampo(*clavePkcs12_, paleta_, clave);
    if (!fallo) {
        conPersona_ = false;
        return;
    }
    const std::string nombre = Orvanta::NombreFichero(ctx_.rutaPkcs12);
    std::string frase = "Falta la contraseña de " + nombre + ": escríbela y pulsa Intro.";
    if (!clave)
        frase = Lx::ParaLeer(fichero->fallo);
    else if (!ctx_.clavePkcs12.empty())
        frase = "La contraseña no abre " + nombre +
                ": escríbela otra vez y pulsa Intro. Si es la buena, el fichero "
                "está dañado: pide otra copia.";
    detalle_->SetTextColor(paleta_[Paleta::kError]);
    detalle_->SetText(Orvanta::EnLineas(frase, detalle_->fontSize, detalle_->rect.w));
    if (!std::exchange(conPersona_, false)) return;
    Lx::CEdit* edicion = clave ? clavePkcs12_ : rutaPkcs12_;
    SetFocusControl(edicion);
    edicion->SelectAll();
}
