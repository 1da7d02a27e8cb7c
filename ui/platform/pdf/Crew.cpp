#include "ui/platform/pdf/Crew.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Lx::Pdf {

using Ayudante::Estado;
using Ayudante::Noticia;
using Ayudante::Programa;
using Ayudante::Ranura;
using Ayudante::Respuesta;
using std::chrono::milliseconds;

// A page isn't given to another process when so many have ended at it.
constexpr int kMaxEnds = 2;

Outcome OutcomeOf(Estado state) {
    switch (state) {
        case Estado::Bien:
            return Outcome::Good;
        case Estado::Protegido:
            return Outcome::Locked;
        case Estado::Danado:
            return Outcome::Damaged;
        case Estado::TamanoInvalido:
            return Outcome::BadSize;
        case Estado::SinMemoria:
            return Outcome::NoMemory;
        default:
            return Outcome::NotDrawn;
    }
}

const char* SentenceOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Good:
            return "";
        case Outcome::Locked:
            return "El PDF esta protegido con contraseña.";
        case Outcome::Damaged:
        case Outcome::Unreadable:
            return "No se pudo abrir el PDF (archivo inexistente o dañado).";
        case Outcome::BadSize:
            return "La pagina tiene un tamano invalido.";
        case Outcome::NoMemory:
            return "Sin memoria para rasterizar la pagina.";
        case Outcome::NotDrawn:
            return "No se pudo dibujar la pagina.";
        case Outcome::NoProgram:
            return "No se pudo dibujar la pagina: el programa que la dibuja se ha cerrado.";
        case Outcome::NoWalls:
            return "No se dibujan páginas: este sistema no ofrece lo que aísla su lectura.";
        case Outcome::Slow:
            return "La pagina tarda demasiado en dibujarse.";
    }
    return "";
}

namespace {

bool IsOfPage(const Job& job) {
    using Ayudante::Orden;
    const Orden order = job.request.orden;
    return order == Orden::Dibujar || order == Orden::Texto || order == Orden::Enlaces;
}

}  // namespace

Crew::Crew(Wakeups& wakeups, const Source& source, const Limits& limits)
    : wakeups_(wakeups), source_(source), limits_(limits), slots_(Ayudante::Ranuras::Crear(limits.slots)) {}

Crew::~Crew() {
    Quit();
}

void Crew::Start() {
    if (program_ || !slots_) return;
    // The spare has nothing to say but its greeting, unless it has gone.
    while (spare_) {
        const Noticia news = spare_->Leer(milliseconds(0));
        if (news == Noticia::Nada) break;
        if (news != Noticia::Saludo) spare_.reset();
    }
    program_ = spare_ ? std::move(spare_) : Programa::Arrancar(slots_->Memoria());
    hasOpening_ = false;
    slots_->OlvidarAnulados();
    if (program_) wakeups_.Add(program_->Canal());
}

void Crew::Quit() {
    if (program_) wakeups_.Remove(program_->Canal());
    program_.reset();
    hasOpening_ = false;
    unwantedSince_ = Clock::time_point::max();
}

void Crew::Open(Job::Done opened) {
    Start();
    if (!program_) return opened(Outcome::NoProgram, {}, *std::make_unique<Ranura>());
    SendOpening(std::move(opened));
    SendMore();
}

void Crew::SendOpening(Job::Done opened) {
    Job job;
    job.request.orden = Ayudante::Orden::Abrir;
    job.room = Ayudante::kUnidad;
    job.done = std::move(opened);
    hasOpening_ = true;
    const int content = source_.content.Valor(), password = source_.password.Valor();
    const bool sent = source_.hasPassword ? Send(job, {content, password}) : Send(job, {content});
    underway_.push_back(std::move(job));
    if (underway_.size() == 1) since_ = Clock::now();
    if (!sent) End(Outcome::NoProgram);
}

bool Crew::Send(Job& job, std::initializer_list<int> fds) {
    if (!job.slot && job.room > 0) job.slot = slots_->Tomar(job.room);
    job.request.ranura = job.slot.Desde();
    job.request.bytes = static_cast<uint32_t>(job.slot.Bytes());
    job.request.entrada = static_cast<uint32_t>(job.input.size());
    if (!job.input.empty()) std::memcpy(job.slot.Datos(), job.input.data(), job.input.size());
    job.number = program_->Pedir(job.request, fds);
    return job.number != 0;
}

void Crew::Ask(Job job) {
    restSince_ = idleSince_ = Clock::time_point::max();
    const auto before = [](const Job& a, const Job& b) { return a.rank < b.rank; };
    waiting_.insert(std::upper_bound(waiting_.begin(), waiting_.end(), job, before), std::move(job));
    SendMore();
}

// What isn't sent stays where it can still be overtaken or forgotten.
void Crew::SendMore() {
    while (!waiting_.empty() && source_.content) {
        if (!program_) {
            Start();
            if (!program_) return EndAll(Outcome::NoProgram);
        }
        if (!hasOpening_) SendOpening({});
        if (!program_ || underway_.size() >= limits_.underway + (isOpened_ ? 0 : 1)) return;
        Job job = std::move(waiting_.front());
        waiting_.pop_front();
        if (const auto ended = ends_.find(job.request.pagina);
            ended != ends_.end() && ended->second >= kMaxEnds && IsOfPage(job)) {
            job.done(Outcome::NotDrawn, {}, job.slot);
            continue;
        }
        if (!job.slot && job.room > 0) job.slot = slots_->Tomar(job.room);
        if (!job.slot && job.room > 0) {
            // What is under way gives its slot back, unless it is kept as a picture.
            job.done(Outcome::NoMemory, {}, job.slot);
            continue;
        }
        const bool sent = Send(job);
        if (!sent && underway_.empty()) {
            // One that ended while it had nothing to do is no fault of this job.
            Quit();
            waiting_.push_front(std::move(job));
            continue;
        }
        if (underway_.empty()) since_ = Clock::now();
        underway_.push_back(std::move(job));
        if (!sent) return End(Outcome::NoProgram);
    }
}

bool Crew::Cancel(IPages::Id id) {
    const auto isIt = [id](const Job& job) { return job.id == id; };
    if (const auto it = std::find_if(waiting_.begin(), waiting_.end(), isIt); it != waiting_.end()) {
        waiting_.erase(it);
        return true;
    }
    const auto it = std::find_if(underway_.begin(), underway_.end(), isIt);
    if (it == underway_.end()) return false;
    it->isUnwanted = true;
    slots_->Anular(it->number);
    if (it == underway_.begin()) unwantedSince_ = Clock::now();
    return true;
}

void Crew::Attend() {
    while (program_) {
        const Noticia news = program_->Leer(milliseconds(0));
        if (news == Noticia::Nada) break;
        switch (news) {
            case Noticia::Saludo:
                since_ = Clock::now();
                break;
            case Noticia::Contesta:
                Answered();
                break;
            case Noticia::SinMuros:
                walls_ = program_->LosMuros();
                EndAll(Outcome::NoWalls);
                break;
            case Noticia::Mudo:
                EndAll(Outcome::NoProgram);
                break;
            default:
                End(Outcome::NoProgram);
        }
    }
    LookAtTime();
}

void Crew::Answered() {
    Job job = std::move(underway_.front());
    underway_.pop_front();
    since_ = Clock::now();
    unwantedSince_ = !underway_.empty() && underway_.front().isUnwanted ? since_ : Clock::time_point::max();
    const Respuesta answer = program_->Ultima();
    const Outcome outcome = OutcomeOf(answer.estado);
    if (job.request.orden == Ayudante::Orden::Abrir) {
        isOpened_ = isOpened_ || outcome == Outcome::Good;
        if (outcome == Outcome::Good) pages_ = answer.valor;
        if (outcome != Outcome::Good) EndAll(outcome);
    }
    if (!job.isUnwanted && job.done) job.done(outcome, answer, job.slot);
    SendMore();
    if (IsIdle()) restSince_ = idleSince_ = Clock::now();
}

void Crew::End(Outcome outcome) {
    const bool greeted = program_ && program_->Saludado();
    if (program_ && program_->Acabar() == Ayudante::kSalidaSinMemoria && outcome == Outcome::NoProgram)
        outcome = Outcome::NoMemory;
    Quit();
    if (!underway_.empty()) {
        Job job = std::move(underway_.front());
        underway_.pop_front();
        if (job.request.orden == Ayudante::Orden::Abrir) {
            // A document that can't be opened isn't tried again for each of its pages.
            if (greeted && outcome == Outcome::NoProgram) outcome = Outcome::Damaged;
            EndAll(outcome);
            if (job.done) job.done(outcome, {}, job.slot);
            return;
        }
        CountEnd(job, outcome);
        if (!job.isUnwanted) job.done(outcome, {}, job.slot);
    }
    for (; !underway_.empty(); underway_.pop_back())
        if (!underway_.back().isUnwanted) waiting_.push_front(std::move(underway_.back()));
    SendMore();
}

// A search goes on behind the page by itself.
void Crew::CountEnd(const Job& job, Outcome outcome) {
    if (!job.isUnwanted && IsOfPage(job) && outcome != Outcome::NoMemory) ++ends_[job.request.pagina];
}

void Crew::EndAll(Outcome outcome) {
    Quit();
    std::deque<Job> all = std::exchange(underway_, {});
    std::move(waiting_.begin(), waiting_.end(), std::back_inserter(all));
    waiting_.clear();
    for (Job& job : all)
        if (!job.isUnwanted && job.done) job.done(outcome, {}, job.slot);
}

void Crew::LookAtTime() {
    const auto now = Clock::now();
    if (program_ && program_->Saludado() && !underway_.empty()) {
        if (now - since_ >= limits_.work) return End(Outcome::Slow);
        if (unwantedSince_ != Clock::time_point::max() && now - unwantedSince_ >= limits_.unwanted)
            return End(Outcome::Slow);
    }
    if (limits_.spare && isOpened_ && !spare_ && restSince_ != Clock::time_point::max() &&
        now - restSince_ >= limits_.rest) {
        spare_ = Programa::Arrancar(slots_->Memoria());
        restSince_ = Clock::time_point::max();
    }
    if (idleSince_ != Clock::time_point::max() && now - idleSince_ >= limits_.idle) GiveBack();
}

// One that follows opens the document anew, and reads as many pages again as lie before the one that is wanted.
void Crew::GiveBack() {
    idleSince_ = Clock::time_point::max();
    slots_->Vaciar();
    if (pages_ < limits_.manyPages) return;
    Quit();
    spare_.reset();
}

Crew::Clock::time_point Crew::Next() const {
    auto next = Clock::time_point::max();
    if (program_ && !program_->Saludado()) return program_->Inicio() + Programa::kPlazoSaludo;
    if (program_ && !underway_.empty()) {
        next = since_ + limits_.work;
        if (unwantedSince_ != Clock::time_point::max()) next = std::min(next, unwantedSince_ + limits_.unwanted);
    }
    if (limits_.spare && isOpened_ && !spare_ && restSince_ != Clock::time_point::max())
        next = std::min(next, restSince_ + limits_.rest);
    if (idleSince_ != Clock::time_point::max()) next = std::min(next, idleSince_ + limits_.idle);
    return next;
}

void Crew::Shrink() {
    if (slots_) slots_->Vaciar();
    spare_.reset();
}

}  // namespace Lx::Pdf
