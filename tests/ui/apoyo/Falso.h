// A window system for tests: nothing is shown, everything is recorded, and the test plays the user. Start each test
// with an Aplicacion; then make a window, Create() it, and:
//   Falso::Clic(ventana, 20, 10);  Falso::Teclear(ventana, "hola");  Falso::Tecla(ventana, Lx::KeyCode::Enter);
//   EXPECT_THAT(Falso::Pintar(ventana), Contains("FillRect 0,0,10,10 #f0f0f0ff"));
// Modal loops and Run() take what "happens" from ElMundo().guion, one function per turn; a loop that finds it empty
// while it still waits throws, so that a test can't hang.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ui/LxApp.h"
#include "ui/LxBackend.h"
#include "ui/LxCanvas.h"
#include "ui/LxPdf.h"
#include "ui/LxWindow.h"

namespace Falso {

// Text measures 7 pixels per code point, and the font size plus 4 in height; bold adds 1 pixel per code point.
class Lienzo : public Lx::CCanvas {
  public:
    // One line per call, its name first, then in the order of the parameters: rects "x,y,w,h", points "x,y", colours
    // "#rrggbbaa", floats as short as they are; a text in quotes, then its font: "DrawText "Hola" 5,6 #000000ff
    // system 13 bold italic". An image is told by its size: "DrawImageRGBA 4x2 0,0,8,4". Measuring isn't recorded.
    std::vector<std::string> lineas;
    bool sabeImagenes = true;  // false: DrawImageRGBA gives false

    void FillRect(const Lx::Rect& rect, const Lx::Color& color) override;
    void DrawRect(const Lx::Rect& rect, const Lx::Color& color, float width) override;
    void FillRoundRect(const Lx::Rect& rect, float radius, const Lx::Color& color) override;
    void DrawRoundRect(const Lx::Rect& rect, float radius, const Lx::Color& color, float width) override;
    void FillEllipse(const Lx::Rect& rect, const Lx::Color& color) override;
    void DrawEllipse(const Lx::Rect& rect, const Lx::Color& color, float width) override;
    void DrawLine(const Lx::Point& from, const Lx::Point& to, const Lx::Color& color, float width) override;
    void DrawText(const std::string& utf8, const Lx::Point& topLeft, const Lx::Color& color,
                  const std::string& fontFamily, int fontSize, bool bold, bool italic) override;
    Lx::Size MeasureText(const std::string& utf8, const std::string& fontFamily, int fontSize, bool bold,
                         bool italic) override;
    void Save() override;
    void Restore() override;
    void Translate(float dx, float dy) override;
    void Scale(float sx, float sy) override;
    void ClipRect(const Lx::Rect& rect) override;
    void ClearRect(const Lx::Rect& rect) override;
    bool DrawImageRGBA(const unsigned char* rgba, int width, int height, const Lx::Rect& dest) override;
    void DrawImageFile(const std::string& path, const Lx::Rect& dest) override;
    void FillGradient(const Lx::Rect& rect, const Lx::Color& from, const Lx::Color& to, float angle) override;
};

// The platform side of one window: De(ventana).
class Ventana : public Lx::CWindowImpl {
  public:
    ~Ventana() override;

    bool Create(Lx::CWindow* owner, const std::string& title, const Lx::Size& clientSize) override;
    void Show() override;
    void Hide() override;
    void RequestClose() override;
    void Destroy() override;
    void InvalidateRect(const Lx::Rect* area) override;
    void SetTitle(const std::string& utf8) override;
    void SetResizable(bool resizable) override;
    void SetMinSize(const Lx::Size& clientSize) override;
    void SetMaxSize(const Lx::Size& clientSize) override;
    void Center() override;
    [[nodiscard]] void* GetHandle() const override;
    bool SetTimer(unsigned id, unsigned ms) override;
    bool KillTimer(unsigned id) override;
    void FlushPaint() override;
    void SetBusy(bool busy) override;
    [[nodiscard]] float GetScale() const override;

    // "Create Título 800x600", "Show", "SetTitle Otro", "FlushPaint", "SetBusy 1"... Neither timers nor invalidations.
    std::vector<std::string> llamadas;
    int invalidaciones = 0;
    std::map<unsigned, unsigned> temporizadores;  // id to milliseconds
    bool cerrada = false;

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
    Lienzo medidor;
    int ventanasVivas = 0;

    // Lx::Pdf::Open; unset it refuses every file.
    std::function<Lx::Pdf::IDocument*(const std::string& ruta, std::string& error)> abrirPdf;
    // RunPlatformFileDialog; unset it is cancelled.
    std::function<bool(const Lx::FileDialogRequest& peticion, std::string& ruta)> elegirFichero;
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

// One tick; false when there is no such timer.
bool Tictac(Lx::CWindow& ventana, unsigned id);
// Runs what CallLater has recorded until now, and gives how many tasks that were.
size_t HacerTareas();
// What PaintAll draws; a control alone draws without clip.
std::vector<std::string> Pintar(Lx::CWindow& ventana);
std::vector<std::string> Pintar(Lx::CControl& control);

}  // namespace Falso
