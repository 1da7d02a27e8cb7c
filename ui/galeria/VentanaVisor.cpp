#include "ui/galeria/VentanaVisor.h"

#include <algorithm>
#include <utility>

#include "ui/galeria/Galeria.h"

namespace Lx {

namespace {

constexpr int kPanel = 200;
constexpr const char* kBuscado = "de";  // what F3 looks for

}  // namespace

CVentanaVisor::CVentanaVisor(const std::string& documento) : documento_(documento) {
    title = "Visor";
    rect = {0, 0, 900, 680};
}

bool CVentanaVisor::OnInit() {
    vista_ = new CDocView;
    panel_ = new CSidePane(vista_);
    panel_->visible = false;
    AddControl(panel_);
    AddControl(vista_);
    Colocar();
    SetFocusControl(vista_);
    vista_->onOpened = [this](const Pdf::Opened& abierto) {
        Anotar("abierto %d %s", abierto.pages, abierto.sentence.c_str());
        panel_->Rebuild();
    };
    vista_->onReloaded = [this](const Pdf::Opened& abierto) {
        Anotar("otra vez %d %s", abierto.pages, abierto.sentence.c_str());
        panel_->Rebuild();
    };
    vista_->onFirstPage = [] { Anotar("primera"); };
    vista_->onPageChanged = [this](int hoja, int cuantas) {
        Anotar("hoja %d %d", hoja, cuantas);
        panel_->Follow(hoja);
    };
    vista_->onZoomChanged = [this] { Anotar("zoom %.3f", vista_->GetZoom()); };
    vista_->onSearch = [this] {
        const SearchState& estado = vista_->GetSearch();
        Anotar("busca %d de %d%s", estado.current, estado.hits, estado.running ? "..." : "");
    };
    vista_->onAddress = [](const std::string& direccion) { Anotar("direccion %s", direccion.c_str()); };
    panel_->onSave = [](int cual, const Pdf::Attachment& fichero) {
        Anotar("guardar %d %s", cual, fichero.name.c_str());
    };
    vista_->Open(documento_);
    return true;
}

void CVentanaVisor::Colocar() {
    const int izquierda = panel_->visible ? kPanel : 0;
    panel_->rect = {0, 0, izquierda, rect.h};
    vista_->rect = {izquierda, 0, rect.w - izquierda, rect.h};
    InvalidateRect(nullptr);
}

void CVentanaVisor::OnSize(unsigned, const Size&) {
    if (vista_) Colocar();
}

void CVentanaVisor::OnKeyDown(KeyCode key, unsigned modifiers) {
    if (key == KeyCode::F9) {
        panel_->visible = !panel_->visible;
        Colocar();
    } else if (key == KeyCode::F5) {
        vista_->Reload();
    } else if (key == KeyCode::F6) {
        vista_->SetSingle(!vista_->IsSingle());
    } else if (key == KeyCode::F7) {
        vista_->Turn(1);
    } else if (key == KeyCode::F3 && vista_->GetSearch().hits == 0) {
        vista_->Search(kBuscado, false);
    } else if (key == KeyCode::F3) {
        (modifiers & kShift) != 0 ? vista_->SearchPrevious() : vista_->SearchNext();
    }
}

void CVentanaVisor::OnShortcut(char letter, unsigned) {
    if (letter == '+') vista_->ZoomBy(1);
    if (letter == '-') vista_->ZoomBy(-1);
    if (letter == '0') vista_->SetFit(ViewPlace::Fit::Width);
    if (letter == 'P') vista_->SetFit(ViewPlace::Fit::Page);
}

}  // namespace Lx
