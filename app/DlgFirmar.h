// Lists the certificates that can sign and lets the user choose one, and where the visible stamp goes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/Aviso.h"
#include "app/Paleta.h"
#include "app/Tarea.h"
#include "firma/LxFirmar.h"
#include "firma/LxListar.h"
#include "firma/LxVigilante.h"
#include "ui/LxDialog.h"

class CDlgFirmar : public Lx::CDialog {
  public:
    // `documento` is its path; `paginas` what it has of them, 0 when that is not known.
    CDlgFirmar(Lx::CWindow* padre, const Orvanta::Paleta::Colores& paleta, const std::string& documento,
               const Lx::CertStore::Contexto& ctx, int paginas = 0);
    // Its copies of the secrets are wiped. A listing that still runs is left to itself.
    ~CDlgFirmar() override;

    // What was chosen, to be read after DoModal gave kAccepted.
    [[nodiscard]] bool HaySeleccion() const { return haySeleccion_; }
    [[nodiscard]] const Lx::CertStore::Entrada& Seleccion() const { return seleccion_; }
    [[nodiscard]] const Lx::CertStore::Contexto& Contexto() const { return ctx_; }
    [[nodiscard]] LxPdfSigner::Sello ModoSello() const { return modo_; }
    [[nodiscard]] const std::string& Paginas() const { return paginas_; }
    // What speaks against the certificate and the user accepted.
    [[nodiscard]] const std::vector<Lx::Motivo>& Aunque() const { return aptitud_.impedimentos; }

    // Where the signed copy goes; empty: its own name beside the document. `Reemplazar`: the person was asked about the
    // file that is there, by its name.
    [[nodiscard]] const std::string& Salida() const { return salida_; }
    [[nodiscard]] bool Reemplazar() const { return reemplazar_; }
    // The folder that "Guardar como…" offers first, and the one that was chosen at last. Before DoModal.
    void PonerCarpeta(const std::string& carpeta) { carpeta_ = carpeta; }
    [[nodiscard]] const std::string& Carpeta() const { return carpeta_; }

    // The listing begins here and goes on while the dialog is shown; the first fit certificate is then chosen.
    bool OnInit() override;
    void OnDestroy() override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;

    // Lists anew. Nothing is selected until it has ended.
    void Recargar();
    void ActualizarOpts();
    void OnLista(int indice);
    void OnActivar(int indice);
    void OnActualizar();
    void OnSelSello(int indice);
    void OnEnterLista(const std::string& texto);
    void OnCambioLista(const std::string& texto);
    void OnCambioPkcs12(const std::string& texto);
    void OnGuardarComo();
    void OnEnterPkcs12(const std::string& texto);
    void OnExaminar();
    void OnAceptar();
    void OnCancelar();

  private:
    // What is chosen when a listing has ended.
    enum class Despues { LaPrimera, LaDelFichero, LaMisma };

    void MontarLista();
    void MontarSello();
    void MontarBotones();
    void MontarPkcs12();
    void MontarDestino();
    Lx::CLabel* Etiqueta(const std::string& texto, const Lx::Rect& donde, Orvanta::Paleta::Rol color, int tamano);
    void TomarPkcs12();
    void Listar(Despues despues);
    void OnTarjeta();
    void OnListado(const Lx::Firma::Listar& listado, Despues despues);
    void PonerFilas();
    [[nodiscard]] int FilaPara(Despues despues) const;
    [[nodiscard]] const Lx::CertStore::Entrada& EntradaDe(size_t fila) const;
    void Seleccionar(int fila);
    void MostrarEstado(const std::string& texto, bool error = false);
    [[nodiscard]] bool AceptaImpedimentos();
    // What is wrong with the file that was named, said at the edit where it is put right.
    void DecirFichero(const Lx::CertStore::FuenteListada* fichero);
    void RevisarPaginas(bool escritas);
    void RevisarDestino();
    void ActivarFirmar();

    Orvanta::Paleta::Colores paleta_;
    std::string documento_;
    Lx::CertStore::Contexto ctx_;
    Lx::Firma::Certificados certificados_;
    std::vector<size_t> orden_;  // of the rows: places in `certificados_`
    Lx::CertStore::Entrada seleccion_;
    Lx::Firma::Aptitud aptitud_;  // of it
    bool haySeleccion_ = false;
    LxPdfSigner::Sello modo_ = LxPdfSigner::kPrimera;
    std::string paginas_;
    int total_;               // pages of the document
    bool listaBuena_ = true;  // the page list can be used, or isn't
    std::string salida_;
    bool reemplazar_ = false;
    bool destinoBueno_ = true;
    std::string carpeta_;

    std::shared_ptr<Correo> correo_;
    CTarea tarea_;
    std::unique_ptr<Lx::Firma::Vigilante> vigilante_;
    bool otraTarjeta_ = false;  // a card came or went while the listing ran
    bool conPersona_ = false;   // the listing was begun by somebody who waits for what it says of the file

    CAviso* aviso_ = nullptr;
    Lx::CListView* lista_ = nullptr;
    Lx::CLabel* estado_ = nullptr;
    Lx::CLabel* detalle_ = nullptr;  // all of the status, for when it is longer than its label
    Lx::CButton* firmar_ = nullptr;
    Lx::CButton* examinar_ = nullptr;
    Lx::CComboBox* sello_ = nullptr;
    Lx::CEdit* edicionPaginas_ = nullptr;
    Lx::CLabel* etiquetaPaginas_ = nullptr;
    Lx::CLabel* frasePaginas_ = nullptr;
    Lx::CLabel* fraseDestino_ = nullptr;
    Lx::CButton* guardarComo_ = nullptr;
    Lx::CEdit* rutaPkcs12_ = nullptr;
    Lx::CEdit* clavePkcs12_ = nullptr;
};
