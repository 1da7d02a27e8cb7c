// Opening, replacing and closing the document of a view.
#include <utility>

#include "ui/LxApp.h"
#include "ui/viewer/DocViewInside.h"

namespace Lx {

std::string SentenceOf(Pdf::Outcome outcome) {
    switch (outcome) {
        case Pdf::Outcome::BadSize:
            return "La pagina tiene un tamano invalido.";
        case Pdf::Outcome::NoMemory:
            return "Sin memoria para rasterizar la pagina.";
        case Pdf::Outcome::NoProgram:
            return "No se pudo dibujar la pagina: el programa que la dibuja no responde.";
        case Pdf::Outcome::NoWalls:
            return "No se pudo dibujar la página: este sistema no deja aislar el programa que la dibuja.";
        case Pdf::Outcome::Slow:
            return "La pagina tarda demasiado en dibujarse.";
        default:
            return "No se pudo dibujar la pagina.";
    }
}

CDocView::Inside::~Inside() {
    Bury(std::move(pages));
    Bury(std::move(next));
}

bool CDocView::Inside::Later(unsigned ms, std::function<void()> task) {
    if (!LxApp::s_pApp || !LxApp::s_pApp->backend) return false;
    LxApp::s_pApp->backend->CallLater(ms, [task = std::move(task), token = std::weak_ptr<int>(alive)] {
        if (!token.expired()) task();
    });
    return true;
}

void CDocView::Inside::Bury(std::unique_ptr<Pdf::IPages> document) {
    if (!document || *alive == 0 || !LxApp::s_pApp || !LxApp::s_pApp->backend) return;
    LxApp::s_pApp->backend->CallLater(0, [kept = std::shared_ptr<Pdf::IPages>(std::move(document))] {});
}

void CDocView::Inside::Start(const std::string& file, Coming how) {
    Bury(std::move(next));
    coming = how;
    comingPath = file;
    opening = true;
    next =
        Pdf::OpenPages(file, [this, number = ++starts, token = std::weak_ptr<int>(alive)](const Pdf::Opened& opened) {
            const std::shared_ptr<int> running = token.lock();
            if (!running || number != starts || coming == Coming::None) return;
            ++*running;
            OnAnswer(Pdf::Opened(opened));
            --*running;
        });
}

void CDocView::Inside::OnAnswer(const Pdf::Opened& opened) {
    const bool again = coming == Coming::Again;
    opening = false;
    if (opened.outcome == Pdf::Outcome::Good && opened.pages > 0) {
        Adopt(opened);
    } else {
        const bool locked = opened.outcome == Pdf::Outcome::Locked;
        if (!again) {
            Drop();
            path = locked ? comingPath : std::string();
            lastError = opened.sentence.empty() ? "No se pudo abrir el PDF." : opened.sentence;
            Tell(view.onPageChanged, -1, 0);
        }
        if (!locked) {
            Bury(std::move(next));
            coming = Coming::None;
        }
    }
    Repaint();
    Tell(again ? view.onReloaded : view.onOpened, opened);
}

void CDocView::Inside::Adopt(const Pdf::Opened& opened) {
    const bool again = coming == Coming::Again && Has();
    const ViewPlace place = again ? Place() : comingPlace.value_or(ViewPlace{});
    const std::string wanted = again ? pattern : std::string();
    const std::optional<Pdf::Hit> hit = search.Current();
    if (again)
        cache.Age();
    else
        Drop();
    Bury(std::exchange(pages, std::move(next)));
    ++epoch;
    DropText();
    drawing.clear();
    failed.clear();
    sliced.clear();
    askingSizes = 0;
    measured = 0;
    coming = Coming::None;
    path = comingPath;
    lastError.clear();
    layout.Reset(opened.pages, opened.sizes);
    arranged = false;
    firstPageDue = !again;
    chosen = reported = -1;
    SetPlace(place);
    if (wanted.empty() || !Has()) return;
    pattern = wanted;
    StartSearch(hit ? hit->page : Current());
    if (hit) search.Keep(*hit);
}

void CDocView::Inside::Drop() {
    Bury(std::move(pages));
    ++epoch;
    DropText();
    drawing.clear();
    cache.Clear();
    back.clear();
    forward.clear();
    layout.Reset(0, {});
    path.clear();
    flash.page = -1;
    askingSizes = 0;
    measured = 0;
    firstPageDue = false;
    scrollX = scrollY = 0;
    chosen = reported = -1;
    Repaint();
}

void CDocView::Open(const std::string& path, const ViewPlace* place) {
    in_->comingPlace = place ? std::optional(*place) : std::nullopt;
    in_->Start(path, Inside::Coming::Fresh);
}

void CDocView::Reload() {
    Replace(in_->path);
}

void CDocView::Replace(const std::string& path) {
    if (in_->Has() && in_->coming != Inside::Coming::Fresh) in_->Start(path, Inside::Coming::Again);
}

void CDocView::Unlock(const std::string& password) {
    if (!in_->next) return;
    in_->opening = true;
    in_->next->Unlock(password);
}

void CDocView::Close() {
    in_->Bury(std::move(in_->next));
    in_->coming = Inside::Coming::None;
    in_->opening = false;
    in_->lastError.clear();
    in_->path.clear();
    if (!in_->pages) return;
    in_->Drop();
    in_->Tell(onPageChanged, -1, 0);
}

bool CDocView::HasDocument() const {
    return in_->Has();
}

bool CDocView::IsOpening() const {
    return in_->opening;
}

const std::string& CDocView::GetPath() const {
    return in_->path;
}

const std::string& CDocView::GetLastError() const {
    return in_->lastError;
}

Pdf::IPages* CDocView::Pages() const {
    return in_->Has() ? in_->pages.get() : nullptr;
}

int CDocView::GetPageCount() const {
    return in_->layout.Count();
}

CDocView::CDocView() : in_(std::make_unique<Inside>(*this)) {}
CDocView::~CDocView() = default;

}  // namespace Lx
