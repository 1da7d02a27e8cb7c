// A window system for tests: nothing is shown, everything is recorded, and the test plays the user. Each test starts
// with an Aplicacion.
// Modal loops and Run() take what "happens" from ElMundo().guion, one function per turn; a loop that finds it empty
// while it still waits throws, so that a test can't hang. What other threads post and what is watched comes first, and
// is waited for while ElMundo().ocupado says that more will come.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ui/LxApp.h"
#include "ui/LxBackend.h"
#include "ui/LxCanvas.h"
#include "ui/LxPages.h"
#include "ui/LxPdf.h"
#include "ui/LxWindow.h"

namespace Falso {

std::string Texto(const Lx::Color& c);

// One line per call: its name, then what it was given.
class Apuntes {
  public:
    static std::string Texto(const std::string& t) { return t; }
    static std::string Texto(int n) { return std::to_string(n); }
    static std::string Texto(float n);
    static std::string Texto(const Lx::Color& c) { return Falso::Texto(c); }
    static std::string Texto(const Lx::Point& p) { return Texto(p.x) + "," + Texto(p.y); }
    static std::string Texto(const Lx::Size& s) { return Texto(s.cx) + "x" + Texto(s.cy); }
    static std::string Texto(const Lx::Rect& r) {
        return Texto(Lx::Point{r.x, r.y}) + "," + Texto(Lx::Point{r.w, r.h});
    }
    template <class... Valores>
    void Apuntar(std::string nombre, const Valores&... valores) {
        ((nombre += " " + Texto(valores)), ...);
        lineas.push_back(std::move(nombre));
    }
    std::vector<std::string> lineas;
};

// Text measures 7 pixels per code point, and the font size plus 4 in height; bold adds 1 pixel per code point.
class Lienzo : public Lx::CCanvas, public Apuntes {
  public:
    // In the order of the parameters: rects "x,y,w,h", points "x,y", colours "#rrggbbaa", floats as short as they are;
    // a text in quotes, then its font: "DrawText "Hola" 5,6 #000000ff system 13 bold italic". An image is told by its
    // size: "DrawImageRGBA 4x2 0,0,8,4". Measuring isn't recorded.
    bool sabeImagenes = true;  // false: DrawImageRGBA gives false

    void FillRect(const Lx::Rect& r, const Lx::Color& c) override { Apuntar("FillRect", r, c); }
    void DrawRect(const Lx::Rect& r, const Lx::Color& c, float w) override { Apuntar("DrawRect", r, c, w); }
    void FillRoundRect(const Lx::Rect& r, float a, const Lx::Color& c) override { Apuntar("FillRoundRect", r, a, c); }
    void DrawRoundRect(const Lx::Rect& r, float a, const Lx::Color& c, float w) override {
        Apuntar("DrawRoundRect", r, a, c, w);
    }
    void FillEllipse(const Lx::Rect& r, const Lx::Color& c) override { Apuntar("FillEllipse", r, c); }
    void DrawEllipse(const Lx::Rect& r, const Lx::Color& c, float w) override { Apuntar("DrawEllipse", r, c, w); }
    void DrawLine(const Lx::Point& a, const Lx::Point& b, const Lx::Color& c, float w) override {
        Apuntar("DrawLine", a, b, c, w);
    }
    void DrawText(const std::string& texto, const Lx::Point& p, const Lx::Color& c, const std::string& letra, int alto,
                  bool negrita, bool cursiva) override {
        const std::string forma = std::string(negrita ? " bold" : "") + (cursiva ? " italic" : "");
        Apuntar("DrawText", "\"" + texto + "\"", p, c, letra, Texto(alto) + forma);
    }
    Lx::Size MeasureText(const std::string& utf8, const std::string& letra, int alto, bool negrita,
                         bool cursiva) override;
    void Save() override { Apuntar("Save"); }
    void Restore() override { Apuntar("Restore"); }
    void Translate(float x, float y) override { Apuntar("Translate", x, y); }
    void Scale(float x, float y) override { Apuntar("Scale", x, y); }
    void ClipRect(const Lx::Rect& r) override { Apuntar("ClipRect", r); }
    void ClearRect(const Lx::Rect& r) override { Apuntar("ClearRect", r); }
    bool DrawImageRGBA(const unsigned char*, int w, int h, const Lx::Rect& r) override {
        Apuntar("DrawImageRGBA", Lx::Size{w, h}, r);
        return sabeImagenes;
    }
    void DrawImageFile(const std::string& ruta, const Lx::Rect& r) override { Apuntar("DrawImageFile", ruta, r); }
    void FillGradient(const Lx::Rect& r, const Lx::Color& a, const Lx::Color& b, float giro) override {
        Apuntar("FillGradient", r, a, b, giro);
    }
    [[nodiscard]] float DeviceScale() const override;
    // Told by the picture's size, as an image is: "DrawPixels 4x2 0,0,4,2 10,10,4,2".
    void DrawPixels(const unsigned char*, int w, int h, int, const Lx::Rect& de, const Lx::Rect& a) override {
        Apuntar("DrawPixels", Lx::Size{w, h}, de, a);
    }
    void FillDevice(const Lx::Rect& r, const Lx::Color& c) override { Apuntar("FillDevice", r, c); }
};

// The platform side of one window: De(ventana). It writes down neither timers nor invalidations.
class Ventana : public Lx::CWindowImpl, public Apuntes {
  public:
    ~Ventana() override;

    bool Create(Lx::CWindow* owner, const std::string& title, const Lx::Size& clientSize) override;
    void Show() override { Apuntar("Show"); }
    void Hide() override { Apuntar("Hide"); }
    void RequestClose() override;
    void Destroy() override;
    void InvalidateRect(const Lx::Rect*) override { invalidaciones += cerrada ? 0 : 1; }
    void SetTitle(const std::string& titulo) override { Apuntar("SetTitle", titulo); }
    void SetResizable(bool si) override { Apuntar("SetResizable", int{si}); }
    void SetMinSize(const Lx::Size& s) override { Apuntar("SetMinSize", s); }
    void SetMaxSize(const Lx::Size& s) override { Apuntar("SetMaxSize", s); }
    void Center() override { Apuntar("Center"); }
    void Resize(const Lx::Size& s) override { Apuntar("Resize", s); }
    [[nodiscard]] void* GetHandle() const override { return const_cast<Ventana*>(this); }
    bool SetTimer(unsigned, unsigned) override { return true; }
    bool KillTimer(unsigned) override { return true; }
    void FlushPaint() override { Apuntar("FlushPaint"); }
    void SetFullScreen(bool si) override { Apuntar("SetFullScreen", int{completa = si}); }
    [[nodiscard]] bool IsFullScreen() const override { return completa; }
    [[nodiscard]] float GetScale() const override;
    [[nodiscard]] Lx::Size WorkArea() const override;

    int invalidaciones = 0;
    bool cerrada = false;
    bool completa = false;

  private:
    void Desmontar();

    Lx::CWindow* duena_ = nullptr;
};

struct Tarea {
    unsigned ms = 0;
    std::function<void()> hacer;
};

// What the test decides and what it can look at.
struct Mundo {
    bool hayPantalla = true;     // false: no backend
    bool aceptaVentanas = true;  // false: CWindowImpl::Create refuses
    float escala = 1;
    std::deque<std::function<void()>> guion;  // what happens in the loops, in order
    std::vector<Tarea> tareas;                // CallLater; see HacerTareas
    std::function<bool()> ocupado;            // threads are at work for the windows
    std::string portapapeles;
    Lienzo medidor;
    int ventanasVivas = 0;
    std::vector<Lx::CWindow*> abiertas;  // those that have a platform window, the last one on top

    // Lx::Pdf::Open; unset it refuses every file.
    std::function<Lx::Pdf::IDocument*(const std::string& ruta, std::string& error)> abrirPdf;
    // Lx::Pdf::OpenPages; unset every file is damaged, and says so when the tasks are run.
    std::function<std::unique_ptr<Lx::Pdf::IPages>(const std::string& ruta, Lx::Pdf::OnOpened abierto)> abrirPaginas;
    // RunPlatformFileDialog; unset it is cancelled.
    std::function<bool(const Lx::FileDialogRequest& peticion, std::string& ruta)> elegirFichero;
    // RunPlatformMenu; unset nothing is chosen. Elegir(text) makes one that chooses by the text of the entry.
    std::function<int(const std::vector<Lx::MenuItem>& ordenes)> elegirOrden;
    // RunPlatformPrintDialog; unset it is cancelled.
    std::function<std::unique_ptr<Lx::IPrintJob>(const Lx::PrintRequest& peticion, std::string& error)> imprimir;
    Lx::Size areaDeTrabajo;                          // of every window
    std::vector<std::string> direcciones, carpetas;  // OpenAddress, ShowInFolder
    std::function<void(Lx::ThemeSet)> apariencia;    // what AskAppearance was given
};
Mundo& ElMundo();

// A fresh world with a live LxApp, for the length of a test.
class Aplicacion {
  public:
    Aplicacion();
    ~Aplicacion();
    Aplicacion(const Aplicacion&) = delete;
    Aplicacion& operator=(const Aplicacion&) = delete;
    Lx::LxApp* operator->() { return app_; }

  private:
    Lx::LxApp* app_;
};

// The window on top.
Lx::CWindow& Arriba();
// The platform window of a window that is created.
Ventana& De(const Lx::CWindow& ventana);

// The user. All of these give whether a control consumed the event (Clic: the release).
bool Raton(Lx::CWindow& ventana, Lx::EventType tipo, int x, int y, uint8_t boton = Lx::kLeftButton,
           uint32_t modificadores = 0);
bool Rueda(Lx::CWindow& ventana, int x, int y, int muescas);
bool Clic(Lx::CWindow& ventana, int x, int y);
bool DobleClic(Lx::CWindow& ventana, int x, int y);  // both clicks, as a backend reports them
bool Tecla(Lx::CWindow& ventana, Lx::KeyCode tecla, uint32_t modificadores = 0);  // pressed, then released
// As a backend sends it: KeyDown and Char for the codes 32 to 126, Text for any other character.
void Teclear(Lx::CWindow& ventana, const std::string& utf8);
// `texto` is the clipboard's for Paste, and afterwards what the control put there.
bool Orden(Lx::CWindow& ventana, Lx::EditCommand orden, std::string* texto = nullptr);

// Chooses the enabled entry of that text, also in a menu inside the menu; throws without one.
std::function<int(const std::vector<Lx::MenuItem>&)> Elegir(const std::string& texto);

// Goes round the loop until it is true; throws when that takes too long.
void HastaQue(const std::function<bool()>& cumplido);
// Runs what CallLater has recorded until now, and gives how many tasks that were.
size_t HacerTareas();
// What PaintAll draws; a control alone draws without clip.
std::vector<std::string> Pintar(Lx::CWindow& ventana);
std::vector<std::string> Pintar(Lx::CControl& control);

}  // namespace Falso
