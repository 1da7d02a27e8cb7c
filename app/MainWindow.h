// The main window: a document to read, to look about in and to sign.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/Aviso.h"
#include "app/BarraBusqueda.h"
#include "app/BarraFirmas.h"
#include "app/CambiosDisco.h"
#include "app/Mandatos.h"
#include "app/Paleta.h"
#include "app/Preferencias.h"
#include "app/Recientes.h"
#include "app/Tarea.h"
#include "firma/LxExaminar.h"
#include "firma/LxFirmar.h"
#include "firma/LxRecuerdo.h"
#include "firma/LxVigilante.h"
#include "ui/LxDialog.h"
#include "ui/viewer/LxDocView.h"
#include "ui/viewer/LxPrinting.h"
#include "ui/viewer/LxSidePane.h"

class CMainWindow : public Lx::CWindow {
  public:
    CMainWindow();
    // The remembered secrets are wiped.
    ~CMainWindow() override;

    // Before the first window: the person's choice of colours.
    static void PonerTemaElegido();
    // Pixels across the first page that a new window shows, where one pixel of the screen is one of the window.
    [[nodiscard]] static int AnchoInicial();
    // Of the command line, or the welcome document's; empty: none.
    [[nodiscard]] static std::string DocumentoInicial(const std::string& pedido);

    // The document to open first; before Create. Empty: the welcome document.
    void PonerDocumentoInicial(const std::string& ruta) { inicial_ = ruta; }
    // The state that the first document had when somebody began to read it ahead: what is signed must be that one.
    void PonerMarcaInicial(const CCambiosDisco::Marca& marca) { marcaInicial_ = marca; }

    bool OnInit() override;
    // While a document is being signed the window closes when that has come to an end.
    bool OnClose() override;
    void OnSize(unsigned flags, const Lx::Size& size) override;
    void OnPaint(Lx::CCanvas* canvas) override;
    void OnKeyDown(Lx::KeyCode key, unsigned modifiers) override;
    void OnChar(unsigned ch) override;
    void OnShortcut(char letter, unsigned modifiers) override;
    void OnContextMenu(const Lx::Point& pt) override;
    void OnDropFile(const std::string& path) override;
    [[nodiscard]] bool AcceptsFiles() const override;
    void OnThemeChanged() override;

    void OnAbrir();
    void OnFirmar();
    void OnPrimero();
    void OnAnterior();
    void OnSiguiente();
    void OnUltimo();
    void OnIrHoja(const std::string& texto);
    // The view shows page `actual` of `total`.
    void OnPagina(int actual, int total);

    // Begins to open it; the status line tells how that ended.
    void CargarDocumento(const std::string& ruta);
    // Writes the position into the page edit and enables the buttons that lead somewhere.
    void PonerHoja();
    // What is not an error leaves the open document's path in the status line.
    void MostrarEstado(const std::string& texto, bool error);
    [[nodiscard]] static std::string RutaSalida(const std::string& ruta);

    // The program is told to end: whatever goes on is cancelled, and the window closes. A key that is in use finishes
    // its document first. On the window's thread; `alFinal` is called when that takes too long.
    void Terminar(const std::function<void()>& alFinal);
    // The way to this window for other threads.
    [[nodiscard]] const std::shared_ptr<Correo>& Buzon() const { return correo_; }

  private:
    // A command: one row of the table that makes the menu, the keys and the help.
    struct Mandato {
        static constexpr unsigned kEnMenu = 1, kEnContexto = 2;

        const char* nombre;
        Orvanta::Tecla tecla;
        Orvanta::Grupo grupo;
        unsigned donde;
        void (CMainWindow::*hacer)();
        bool (CMainWindow::*puede)() const = nullptr;    // null: always
        bool (CMainWindow::*marcado)() const = nullptr;  // null: nothing that is on or off
    };
    // A document that is being opened.
    struct Pedido {
        std::string ruta;
        CCambiosDisco::Marca marca{};
        bool bienvenida = false;
        bool claveRechazada = false;
    };

    [[nodiscard]] static std::span<const Mandato> Mandatos();
    [[nodiscard]] static std::vector<Orvanta::Ayuda> LineasDeAyuda();
    [[nodiscard]] std::vector<Lx::MenuItem> Menu(unsigned donde) const;
    [[nodiscard]] int ElegirEnMenu(const std::vector<Lx::MenuItem>& menu, const Lx::Point& donde);
    bool Mandar(size_t cual);
    bool MandarTecla(const Orvanta::Tecla& tecla);

    // --- Commands
    void OnMenu();
    void OnContexto(const Lx::Point& pt);
    void OnAbrirAparte();
    void OnImprimir();
    void OnBuscar();
    void OnBuscarSiguiente();
    void OnBuscarAnterior();
    void OnCopiar();
    void OnSeleccionarTodo();
    void OnAcercar();
    void OnAlejar();
    void OnTamanoReal();
    void OnAjustarAncho();
    void OnAjustarPagina();
    void OnUnaPagina();
    void OnGirarDerecha();
    void OnGirarIzquierda();
    void OnPanel();
    void OnPantallaCompleta();
    void OnAtras();
    void OnAdelante();
    void OnTemaEscritorio();
    void OnTemaClaro();
    void OnTemaOscuro();
    void OnSinRecientes();
    void OnDiagnostico();
    void OnAyuda();
    void OnCerrar();
    void OnCerrarTodas();
    [[nodiscard]] bool HayPaginas() const;
    [[nodiscard]] bool HaySeleccion() const;
    [[nodiscard]] bool AjustaAncho() const;
    [[nodiscard]] bool AjustaPagina() const;
    [[nodiscard]] bool EsUnaPagina() const;
    [[nodiscard]] bool HayPanel() const;
    [[nodiscard]] bool EsCompleta() const;
    [[nodiscard]] bool EsTemaEscritorio() const;
    [[nodiscard]] bool EsTemaClaro() const;
    [[nodiscard]] bool EsTemaOscuro() const;
    [[nodiscard]] bool SinRecientes() const;
    void PonerTema(Orvanta::Tema tema);
    static void AplicarTema();

    // --- Building
    void MontarBotones();
    void MontarVista();
    void MontarEstado();
    void Vestir();
    void Colocar();
    void ColocarAviso();
    [[nodiscard]] Lx::Rect SitioDeLaVista() const;

    // --- The document
    void CargarInicial();
    void Abrir(const std::string& ruta);
    [[nodiscard]] bool ElegirFichero(std::string& ruta);
    void Cargar(Pedido pedido);
    void OlvidarDocumento();
    void OnAbierto(const Lx::Pdf::Opened& como);
    void AlVerse();
    void PedirLectura();
    void PedirLecturaLuego();
    void Examinar(std::function<void()> luego);
    void AlExaminar();
    void AvisarDelExamen();
    void PonerFirmas();
    void AlCambiarEnDisco();
    void OnRecargado(const Lx::Pdf::Opened& como);
    void OnReemplazado(const Lx::Pdf::Opened& como);
    void OnEnlace(const std::string& direccion);
    void OnGuardarAdjunto(int cual, const Lx::Pdf::Attachment& adjunto);
    void AnotarReciente();
    void GuardarLugar();
    void PonerEstado(const std::string& texto, bool error);
    void Avisar(const std::string& texto, bool error);
    void Avisar(const std::string& texto, CAviso::Tono tono, CAviso::Accion accion);
    [[nodiscard]] bool HayDocumento() const;
    // A dialog that may not be left behind by the end of the window.
    [[nodiscard]] int Preguntar(Lx::CDialog& dialogo);
    template <class F>
    auto EnModal(F hacer);

    // --- Printing
    void AcabarImpresion();
    void DejarDeImprimir();
    [[nodiscard]] bool PuedeDejarDeImprimir();

    // --- The signature
    [[nodiscard]] bool Libre();
    void SeguirFirma();
    void AcabarFirma();
    [[nodiscard]] bool PuedeFirmarse();
    [[nodiscard]] bool ElegirCertificado(Lx::Firma::Encargo& encargo);
    [[nodiscard]] Lx::Firma::Preguntas Preguntas(const std::string& quien);
    [[nodiscard]] Lx::Aviso PedirPin(const Lx::Firma::PreguntaPin& pregunta, std::string& pin);
    [[nodiscard]] bool PedirClave(const std::string& almacen, int intento, bool ultimo, std::string& clave);
    void MostrarProgreso(const Lx::Control::Estado& estado);
    void OnCancelar();
    void Recordar(const Lx::Firma::FirmarDocumentos& trabajo);
    void OlvidarPin();
    // `pero`: what is wrong all the same.
    void AvisarFirmado(const LxPdfSigner::Resultado& r, const std::string& pero = "");
    void ContarResultado(const Lx::Firma::Firmados& firmados, const std::string& quien);

    inline static Orvanta::Preferencias preferencias_;             // of the program
    inline static std::optional<Lx::ThemeSet> temaDelEscritorio_;  // once it has said so
    inline static bool temaPedido_ = false;
    inline static const CMainWindow* firmante_ = nullptr;  // the window that signs: one at a time
    inline static std::string ultimaCarpeta_;              // that a document was opened from

    Orvanta::Paleta::Colores paleta_;
    std::string inicial_;
    CCambiosDisco::Marca marcaInicial_;
    std::string documento_;  // that is shown
    Pedido pedido_;
    bool bienvenida_ = false;
    bool protegido_ = false;
    std::string carpeta_;  // where the last signed copy was put, when the person chose it
    int pagina_ = 0;
    int paginas_ = 0;
    std::optional<Lx::Firma::Examen> examen_;
    std::function<void()> trasExamen_;
    std::string antesDelExamen_;                       // what was said of the document just before
    std::vector<std::string> firmadoAqui_;             // who signed the document in this window, the last at the end
    std::optional<LxPdfSigner::Resultado> reemplazo_;  // the signed document is being opened
    LxPdfSigner::Estampa estampa_;                     // of the last signature
    std::optional<CCambiosDisco::Marca> recarga_;      // the document is being read anew
    int paginaDelAviso_ = -1;
    std::chrono::steady_clock::time_point momentoDelAviso_;
    bool estadoError_ = false;
    bool noFirmado_ = false;  // because it changed on the disk; to be told when it has been read anew

    Lx::Firma::Recuerdo recuerdo_;  // what the last accepted dialog ended with
    std::shared_ptr<Correo> correo_;
    CCambiosDisco cambios_;
    Orvanta::Recientes recientes_;
    std::unique_ptr<Lx::Firma::Vigilante> vigilante_;  // while a PIN is remembered
    CTarea examinando_;
    CTarea tarea_;        // the signature
    std::string recado_;  // what else there is to say while it goes on
    std::unique_ptr<Lx::CPrintRun> impresion_;
    bool firmando_ = false;
    bool cerrarAlAcabar_ = false;
    int modales_ = 0;                     // loops that run for this window
    std::vector<Lx::CDialog*> dialogos_;  // those that are shown, one above the other

    Lx::CDocView* visor_ = nullptr;
    Lx::CSidePane* panel_ = nullptr;
    Lx::CButton* abrir_ = nullptr;
    Lx::CButton* firmar_ = nullptr;
    Lx::CButton* menu_ = nullptr;
    Lx::CButton* primero_ = nullptr;
    Lx::CButton* anterior_ = nullptr;
    Lx::CEdit* hoja_ = nullptr;
    Lx::CButton* siguiente_ = nullptr;
    Lx::CButton* ultimo_ = nullptr;
    Lx::CLabel* estado_ = nullptr;
    Lx::CLabel* credito_ = nullptr;
    CBarraFirmas* barraFirmas_ = nullptr;
    CBarraBusqueda* busqueda_ = nullptr;
    CAviso* aviso_ = nullptr;
};

template <class F>
auto CMainWindow::EnModal(F hacer) {
    ++modales_;
    auto resultado = hacer();
    // Whoever wanted to close the window meanwhile gets it when nothing of it stands on the stack.
    if (--modales_ == 0 && cerrarAlAcabar_ && !firmando_) correo_->Enviar([this] { Close(); });
    return resultado;
}
