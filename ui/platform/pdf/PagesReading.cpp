#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <thread>
#include <utility>

#include "crypto/LxFichero.h"
#include "ui/platform/pdf/Answers.h"
#include "ui/platform/pdf/PagesWork.h"

namespace Lx::Pdf {

using Ayudante::Orden;
using Ayudante::Ranura;
using Ayudante::Respuesta;

namespace {

constexpr size_t kMiB = size_t{1} << 20;
// Rising with what can wait.
constexpr int kRankOfText = 1, kRankOfSearch = 2;
// Of one request; its answer comes earlier when they take long.
constexpr int32_t kPagesAtOnce = 64;
constexpr int32_t kPagesForTwo = 200;
constexpr size_t kMaxPattern = 1'000;
// Pages that couldn't be searched, until the search is given up.
constexpr int kMaxFailures = 20;

}  // namespace

Job Pages::Reading(Orden order, int32_t page, size_t room, int rank) {
    Job job;
    job.id = ++lastId_;
    job.request.orden = order;
    job.request.pagina = page;
    job.room = room;
    job.rank = rank;
    return job;
}

IPages::Id Pages::Text(int32_t page, Done<PageText> done) {
    Job job = Reading(Orden::Texto, page, 8 * kMiB, kRankOfText);
    const Id id = job.id;
    job.done = Posting(id, std::move(done), [](const Respuesta& answer, const Ranura& slot) {
        return ReadText(slot.Datos(), answer.bytes);
    });
    reading_.Ask(std::move(job));
    Rearm();
    return id;
}

IPages::Id Pages::Links(int32_t page, Done<std::vector<Link>> done) {
    Job job = Reading(Orden::Enlaces, page, kMiB, kRankOfText);
    const Id id = job.id;
    job.done = Posting(id, std::move(done), [pages = state_.pages](const Respuesta& answer, const Ranura& slot) {
        return ReadLinks(slot.Datos(), answer.bytes, pages);
    });
    reading_.Ask(std::move(job));
    Rearm();
    return id;
}

IPages::Id Pages::Outline(Done<std::vector<OutlineItem>> done) {
    Job job = Reading(Orden::Indice, 0, 4 * kMiB, kRankOfText);
    const Id id = job.id;
    job.done = Posting(id, std::move(done), [pages = state_.pages](const Respuesta& answer, const Ranura& slot) {
        return ReadOutline(slot.Datos(), answer.bytes, pages);
    });
    reading_.Ask(std::move(job));
    Rearm();
    return id;
}

IPages::Id Pages::Attachments(Done<std::vector<Attachment>> done) {
    Job job = Reading(Orden::Adjuntos, 0, kMiB, kRankOfText);
    const Id id = job.id;
    job.done = Posting(id, std::move(done), [](const Respuesta& answer, const Ranura& slot) {
        return ReadAttachments(slot.Datos(), answer.bytes);
    });
    reading_.Ask(std::move(job));
    Rearm();
    return id;
}

// --- Search

IPages::Id Pages::Search(const SearchSpec& spec, Done<SearchNews> news) {
    const auto search = std::make_shared<Searching>();
    search->id = ++lastId_;
    search->pattern = spec.pattern;
    search->exact = spec.exact;
    search->news = std::move(news);
    search->pages = state_.pages;
    const Id id = search->id;
    if (spec.pattern.empty() || spec.pattern.size() > kMaxPattern || state_.pages < 1) {
        Post(id, [search] { search->news(Outcome::Good, {{}, search->pages, true}); });
        Rearm();
        return id;
    }
    searches_[id] = search;
    if (!searching_ && state_.pages >= kPagesForTwo && std::thread::hardware_concurrency() > 1)
        searching_ = std::make_unique<Crew>(wakeups_, source_, LimitsOfReading(limits_));
    Share(*search, std::clamp(spec.from, 0, state_.pages - 1), state_.pages);
    if (spec.from > 0) Share(*search, 0, std::min(spec.from, state_.pages - 1));
    for (const int who : {0, 1}) ReadOn(search, who);
    Rearm();
    return id;
}

// Pages from `first` to before `end`, in blocks that always go to the same one.
void Pages::Share(Searching& search, int32_t first, int32_t end) const {
    while (first < end) {
        const int32_t block = first / kPagesAtOnce;
        const int32_t stop = std::min(end, (block + 1) * kPagesAtOnce);
        search.ranges[searching_ ? block % 2 : 0].emplace_back(first, stop - first);
        first = stop;
    }
}

void Pages::ReadOn(const std::shared_ptr<Searching>& search, int who) {
    auto& own = search->ranges[who];
    auto& others = search->ranges[1 - who];
    if (own.empty() && (others.size() < 2 || (who == 1 && !searching_))) return;
    // Who has nothing left takes the last of the other's.
    const auto [page, count] = own.empty() ? others.back() : own.front();
    own.empty() ? others.pop_back() : own.pop_front();

    Job job = Reading(Orden::Buscar, page, kMiB, kRankOfSearch);
    job.request.cuantos = count;
    job.request.banderas = search->exact ? Ayudante::kExacta : 0;
    job.input = search->pattern;
    search->jobs.push_back(job.id);
    job.done = [this, id = job.id, search, page = page, count = count, who](Outcome outcome, const Respuesta& answer,
                                                                            const Ranura& slot) {
        int32_t done = 0;
        // A process that has ended leaves what it had found until then.
        const size_t bytes = outcome == Outcome::Good ? answer.bytes : slot.Bytes();
        std::vector<Hit> hits = ReadHits(slot.Datos(), slot ? bytes : 0, page, count, done);
        Post(id, [this, id, search, outcome, hits = std::move(hits), page, count, who, done] {
            std::erase(search->jobs, id);
            TakeFound(search, outcome, hits, page, count, who, done);
        });
    };
    Crew& crew = who == 1 && searching_ ? *searching_ : reading_;
    crew.Ask(std::move(job));
}

void Pages::TakeFound(const std::shared_ptr<Searching>& search, Outcome outcome, std::vector<Hit> hits, int32_t first,
                      int32_t count, int who, int32_t done) {
    // The page that a process has ended at is left out.
    if (outcome != Outcome::Good || done == 0) {
        done = std::min(done + 1, count);
        ++search->failures;
    }
    search->pagesDone += done;
    if (done < count) search->ranges[who].emplace_front(first + done, count - done);
    const bool givenUp = search->failures >= kMaxFailures;
    if (givenUp) search->ranges[0].clear(), search->ranges[1].clear();
    const bool finished = search->ranges[0].empty() && search->ranges[1].empty() && search->jobs.empty();
    if (finished) searches_.erase(search->id);
    ReadOn(search, who);
    search->news(givenUp ? outcome : Outcome::Good, {std::move(hits), search->pagesDone, finished});
}

// --- Attachments

Pages::Saving::~Saving() {
    if (file) unlink(path.c_str());
}

IPages::Id Pages::SaveAttachment(int32_t index, const std::string& path, Done<std::string> done) {
    const auto saving = std::make_shared<Saving>();
    const Id id = ++lastId_;
    saving->id = id;
    saving->index = index;
    saving->path = path;
    saving->done = std::move(done);
    saving->file =
        Api::Descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, 0600));
    if (saving->file) {
        savings_[id] = saving;
        SaveOn(saving);
    } else {
        Post(id, [saving, exists = errno == EEXIST] {
            saving->done(Outcome::Unreadable,
                         exists ? "Ya hay un fichero con ese nombre: elige otro."
                                : "No se pudo crear el fichero en esa carpeta: elige otra en la que puedas escribir.");
        });
    }
    Rearm();
    return id;
}

void Pages::SaveOn(const std::shared_ptr<Saving>& saving) {
    Job job = Reading(Orden::Adjunto, saving->index, 4 * kMiB, kRankOfText);
    job.request.desde = saving->written;
    job.done = [this, saving](Outcome outcome, const Respuesta& answer, const Ranura& slot) {
        std::string sentence;
        if (outcome == Outcome::NoMemory) {
            sentence = "El adjunto ocupa más de 256 MB: guárdalo con otro programa.";
        } else if (outcome != Outcome::Good || (answer.valor == 0 && answer.bytes == 0)) {
            if (outcome == Outcome::Good) outcome = Outcome::Damaged;
            sentence = "No se pudo leer el adjunto: está dañado o protegido.";
        } else {
            const std::string_view part(reinterpret_cast<const char*>(slot.Datos()), answer.bytes);
            const bool isWritten = Api::EscribirTodo(saving->file.Valor(), part);
            saving->written += answer.bytes;
            if (isWritten && answer.valor == 0) return Post(saving->id, [this, saving] { SaveOn(saving); });
            if (!isWritten || !saving->file.Cerrar()) {
                outcome = Outcome::Unreadable;
                sentence = "No se pudo escribir el adjunto: comprueba que queda sitio en el disco.";
            }
        }
        Post(saving->id, [this, saving, outcome, sentence] {
            savings_.erase(saving->id);
            if (outcome != Outcome::Good) unlink(saving->path.c_str());
            static_cast<void>(saving->file.Cerrar());
            saving->done(outcome, sentence);
        });
    };
    reading_.Ask(std::move(job));
}

}  // namespace Lx::Pdf
