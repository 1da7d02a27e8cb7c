#include "ui/platform/pdf/Pages.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ayudante/LxMuros.h"
#include "ui/platform/pdf/Answers.h"
#include "ui/platform/pdf/PagesWork.h"

namespace Lx::Pdf {

using Ayudante::Orden;
using Ayudante::Peticion;
using Ayudante::Ranura;
using Ayudante::Respuesta;

namespace {

// A wider page isn't asked for as a whole, and cairo takes no more.
constexpr int32_t kMaxWidth = 30'000;
// Room for a first page whose height isn't known yet.
constexpr size_t kRoomAhead = size_t{32} << 20;

constexpr uint32_t StrideOf(int32_t width) {
    return (static_cast<uint32_t>(width) * 4 + 63) / 64 * 64;
}

Picture PictureIn(const Peticion& request, const Respuesta& answer, Ranura& slot) {
    Picture picture;
    picture.width = request.ancho;
    picture.height = answer.valor;
    picture.stride = static_cast<int32_t>(request.paso);
    slot.Encoger(picture.Bytes());
    const auto holder = std::make_shared<Ranura>(std::move(slot));
    picture.data = holder->Datos();
    picture.holder = holder;
    return picture;
}

std::string SentenceOfOpening(Outcome outcome, const Ayudante::Muros& walls, bool hadPassword) {
    switch (outcome) {
        case Outcome::Locked:
            return hadPassword ? "La contraseña no es correcta." : SentenceOf(outcome);
        case Outcome::Slow:
            return "El PDF tarda demasiado en abrirse.";
        case Outcome::NoProgram:
            return "No se pudo iniciar el programa que dibuja las paginas (velmora-pagina).";
        case Outcome::NoWalls:
            return Ayudante::ExplicarFalta(walls);
        default:
            return SentenceOf(outcome);
    }
}

// What OpenAhead began.
std::unique_ptr<Pages>& Begun() {
    static std::unique_ptr<Pages> begun;
    return begun;
}

}  // namespace

Crew::Limits LimitsOfReading(Crew::Limits limits) {
    limits.underway = 1;
    limits.spare = false;
    limits.slots = std::min(limits.slots, size_t{48} << 20);
    return limits;
}

Pages::Pages(const std::string& path, int32_t aheadWidth, const Crew::Limits& limits)
    : path_(path),
      wakeups_([this] { Attend(); }),
      limits_(limits),
      drawing_(wakeups_, source_, limits),
      reading_(wakeups_, source_, LimitsOfReading(limits)) {
    drawing_.Start();
    if (aheadWidth > 0 && aheadWidth <= kMaxWidth) {
        ahead_ = Ahead{};
        ahead_->width = aheadWidth;
    }
    copying_ = std::make_unique<Copying>(path);
    wakeups_.Add(copying_->Fd());
    if (copying_->IsDone()) OpenContent();
    Rearm();
}

Pages::~Pages() {
    if (copying_) wakeups_.Remove(copying_->Fd());
}

void Pages::Tell(OnOpened opened) {
    opened_ = std::move(opened);
    wakeups_.Bind();
    if (isAnswered_) Post(0, [this] { opened_(state_); });
    Rearm();
}

void Pages::OpenContent() {
    wakeups_.Remove(copying_->Fd());
    source_.content = copying_->Take();
    copying_.reset();
    if (!source_.content) {
        Ranura none;
        return TakeOpening(Outcome::Unreadable, {}, none);
    }
    drawing_.Open(
        [this](Outcome outcome, const Respuesta& answer, Ranura& slot) { TakeOpening(outcome, answer, slot); });
    if (ahead_) AskAhead();
}

void Pages::TakeOpening(Outcome outcome, const Respuesta& answer, Ranura& slot) {
    // One that didn't fit isn't kept.
    if (outcome != Outcome::Good && source_.hasPassword) source_.password.Quitar();
    const bool hadPassword = std::exchange(source_.hasPassword, source_.hasPassword && outcome == Outcome::Good);
    state_ = {};
    state_.outcome = outcome;
    if (outcome == Outcome::Good) {
        state_.pages = answer.valor;
        state_.sizes = ReadSizes(slot.Datos(), answer.bytes);
        state_.isProtected = (answer.banderas & Ayudante::kCifrado) != 0;
        state_.mayPrint = (answer.banderas & Ayudante::kNoImprimir) == 0;
        state_.mayPrintWell = (answer.banderas & Ayudante::kNoImprimirBien) == 0;
    } else {
        state_.sentence =
            path_.empty() ? "Ruta de archivo invalida." : SentenceOfOpening(outcome, drawing_.Walls(), hadPassword);
        ahead_.reset();
    }
    isAnswered_ = true;
    if (opened_) Post(0, [this] { opened_(state_); });
}

void Pages::Unlock(const std::string& password) {
    source_.hasPassword = source_.password.Crear({password, std::string_view("\0", 1)});
    if (!source_.content || state_.outcome != Outcome::Locked) return;
    drawing_.Open(
        [this](Outcome outcome, const Respuesta& answer, Ranura& slot) { TakeOpening(outcome, answer, slot); });
    Rearm();
}

void Pages::Post(Id id, std::function<void()> call) {
    messages_.push_back({id, std::move(call)});
}

void Pages::Rearm() {
    wakeups_.Bind();
    auto next = std::min(drawing_.Next(), reading_.Next());
    if (searching_) next = std::min(next, searching_->Next());
    wakeups_.At(messages_.empty() ? next : Wakeups::Clock::now());
}

void Pages::Attend() {
    if (copying_ && copying_->IsDone()) OpenContent();
    drawing_.Attend();
    reading_.Attend();
    if (searching_) searching_->Attend();
    const std::weak_ptr<bool> alive = alive_;
    // Those that come meanwhile wait for the next time.
    for (size_t n = messages_.size(); n > 0 && !messages_.empty(); --n) {
        const Message message = std::move(messages_.front());
        messages_.pop_front();
        message.call();
        if (alive.expired()) return;
    }
    Rearm();
}

IPages::Id Pages::Sizes(int32_t first, int32_t count, Done<std::vector<PageSize>> done) {
    Job job;
    job.id = ++lastId_;
    job.request.orden = Orden::Medidas;
    job.request.pagina = std::clamp(first, 0, std::max(state_.pages - 1, 0));
    job.request.cuantos = std::clamp(count, 0, std::min(Ayudante::kMaxMedidas, state_.pages - job.request.pagina));
    job.room = Ayudante::kUnidad;
    job.done = Posting(job.id, std::move(done), [](const Respuesta& answer, const Ranura& slot) {
        return ReadSizes(slot.Datos(), answer.bytes);
    });
    drawing_.Ask(std::move(job));
    Rearm();
    return lastId_;
}

void Pages::AskAhead() {
    Job job;
    job.request.orden = Orden::Dibujar;
    job.request.total = job.request.ancho = ahead_->width;
    job.request.paso = StrideOf(ahead_->width);
    job.room = kRoomAhead;
    job.done = [this, request = job.request](Outcome outcome, const Respuesta& answer, Ranura& slot) {
        if (!ahead_) return;
        ahead_->isDone = true;
        ahead_->outcome = outcome;
        if (outcome == Outcome::Good) ahead_->picture = PictureIn(request, answer, slot);
        if (ahead_->done)
            Post(ahead_->id, [done = ahead_->done, outcome, picture = ahead_->picture] { done(outcome, picture); });
        if (ahead_->done) ahead_.reset();
    };
    drawing_.Ask(std::move(job));
}

// Whether what was begun before anyone asked is just this.
bool Pages::IsAhead(const TileSpec& tile) const {
    if (!ahead_ || ahead_->done || state_.sizes.empty()) return false;
    if (ahead_->isDone && ahead_->outcome != Outcome::Good) return false;
    const Rect whole{0, 0, ahead_->width, HeightOf(state_.sizes.front(), 0, ahead_->width)};
    return tile == TileSpec{0, ahead_->width, 0, whole, false};
}

IPages::Id Pages::DrawWith(Crew& crew, const TileSpec& tile, int rank, Done<Picture> done) {
    const Id id = ++lastId_;
    Job job;
    job.id = id;
    job.rank = rank;
    Peticion& request = job.request;
    request.orden = Orden::Dibujar;
    request.banderas = tile.forPrint ? Ayudante::kParaImprimir : 0;
    request.pagina = tile.page;
    request.total = tile.width;
    request.giro = tile.turn & 3;
    request.x = tile.area.x;
    request.y = tile.area.y;
    request.ancho = tile.area.w;
    request.alto = tile.area.h;
    Outcome bad = Outcome::Good;
    if (tile.page < 0 || tile.page >= state_.pages) bad = Outcome::NotDrawn;
    if (tile.width < 1 || tile.area.w < 1 || tile.area.h < 1) bad = Outcome::BadSize;
    if (tile.area.w > kMaxWidth || tile.area.h > kMaxWidth) bad = Outcome::NoMemory;
    if (bad != Outcome::Good) {
        Post(id, [done = std::move(done), bad] { done(bad, {}); });
    } else {
        request.paso = StrideOf(tile.area.w);
        job.room = size_t{request.paso} * static_cast<size_t>(tile.area.h);
        job.done = Posting(id, std::move(done), [request](const Respuesta& answer, Ranura& slot) {
            return PictureIn(request, answer, slot);
        });
        crew.Ask(std::move(job));
    }
    Rearm();
    return id;
}

IPages::Id Pages::Draw(const TileSpec& tile, Done<Picture> done) {
    if (!IsAhead(tile)) {
        // Asked for already, it is still owed.
        if (ahead_ && !ahead_->done) ahead_.reset();
        return DrawWith(drawing_, tile, 0, std::move(done));
    }
    ahead_->id = ++lastId_;
    if (ahead_->isDone) {
        Post(lastId_, [done = std::move(done), picture = ahead_->picture] { done(Outcome::Good, picture); });
        ahead_.reset();
    } else {
        ahead_->done = std::move(done);
    }
    Rearm();
    return lastId_;
}

IPages::Id Pages::DrawThumbnail(const TileSpec& tile, Done<Picture> done) {
    return DrawWith(reading_, tile, 3, std::move(done));
}

void Pages::Cancel(Id id) {
    if (id == 0) return;
    std::erase_if(messages_, [id](const Message& message) { return message.id == id; });
    if (ahead_ && ahead_->id == id) ahead_.reset();
    if (const auto search = searches_.extract(id); !search.empty()) {
        for (const Id job : search.mapped()->jobs) {
            if (!reading_.Cancel(job) && searching_) searching_->Cancel(job);
            std::erase_if(messages_, [job](const Message& message) { return message.id == job; });
        }
    }
    savings_.erase(id);
    if (!drawing_.Cancel(id)) reading_.Cancel(id);
    Rearm();
}

void Pages::Shrink() {
    drawing_.Shrink();
    reading_.Shrink();
    if (searching_ && searching_->IsIdle()) searching_.reset();
}

std::unique_ptr<IPages> OpenPages(const std::string& path, OnOpened opened) {
    std::unique_ptr<Pages> pages = std::move(Begun());
    if (!pages || pages->Path() != path) pages = std::make_unique<Pages>(path, 0, Crew::Limits{.spare = true});
    pages->Tell(std::move(opened));
    return pages;
}

void OpenAhead(const std::string& path, int32_t width) {
    Begun() = std::make_unique<Pages>(path, width, Crew::Limits{.spare = true});
}

}  // namespace Lx::Pdf
