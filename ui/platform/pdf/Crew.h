// Those who read one document in one role: a process of velmora-pagina at a time, started again when it ends, and the
// requests that wait for it.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "ayudante/LxPrograma.h"
#include "ayudante/LxRanuras.h"
#include "crypto/LxMemoria.h"
#include "ui/LxPages.h"
#include "ui/platform/pdf/Wakeups.h"

namespace Lx::Pdf {

struct Job {
    // The slot holds the answer; what of it is meant stays who takes it.
    using Done = std::function<void(Outcome, const Ayudante::Respuesta&, Ayudante::Ranura&)>;

    IPages::Id id = 0;
    Ayudante::Peticion request;
    size_t room = 0;    // bytes of its slot
    std::string input;  // put into the slot beforehand
    int rank = 0;       // lower ones first; equal ones in their order
    Done done;
    // From here on the crew's own.
    Ayudante::Ranura slot = {};
    uint32_t number = 0;
    bool isUnwanted = false;
};

// The document as processes get it.
struct Source {
    Api::Descriptor content;
    FicheroMemoria password;
    bool hasPassword = false;
};

class Crew {
  public:
    using Clock = Wakeups::Clock;

    struct Limits {
        std::chrono::milliseconds work{20'000};  // for opening, and for a request
        std::chrono::milliseconds unwanted{150};
        std::chrono::milliseconds rest{300};     // until a spare is started
        std::chrono::milliseconds idle{30'000};  // until memory is given back
        int32_t manyPages = 10'000;              // poppler keeps some KB of each on the way to the one that is seen
        size_t underway = 2;
        size_t slots = size_t{96} << 20;
        bool spare = false;
    };

    // `source` outlives this.
    Crew(Wakeups& wakeups, const Source& source, const Limits& limits);
    ~Crew();
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // Starts the process, which hasn't got a document yet.
    void Start();
    // Hands over the document. `opened` gets the answer, once; a process that follows is given it without a word.
    void Open(Job::Done opened);
    void Ask(Job job);
    // Whether it had the job; its `done` isn't called any more.
    bool Cancel(IPages::Id id);
    // Reads what there is and looks at the time.
    void Attend();
    [[nodiscard]] Clock::time_point Next() const;
    void Shrink();
    [[nodiscard]] bool IsIdle() const { return waiting_.empty() && underway_.empty(); }
    // Of the last process that couldn't be walled in.
    [[nodiscard]] const Ayudante::Muros& Walls() const { return walls_; }

  private:
    [[nodiscard]] bool Send(Job& job, std::initializer_list<int> fds = {});
    void SendMore();
    void SendOpening(Job::Done opened);
    void Answered();
    // The process is ended. The job it was at fails so; what waited behind it goes to the next one.
    void End(Outcome outcome);
    void EndAll(Outcome outcome);
    void CountEnd(const Job& job, Outcome outcome);
    void Quit();
    void LookAtTime();
    void GiveBack();

    Wakeups& wakeups_;
    const Source& source_;
    Limits limits_;
    std::shared_ptr<Ayudante::Ranuras> slots_;
    std::unique_ptr<Ayudante::Programa> program_, spare_;
    bool isOpened_ = false;    // some process has opened it
    bool hasOpening_ = false;  // the current process was given the document
    int32_t pages_ = 0;
    std::map<int32_t, int> ends_;  // processes that ended at this page
    std::deque<Job> waiting_, underway_;
    Clock::time_point since_;  // when the first of underway_ became it
    Clock::time_point unwantedSince_ = Clock::time_point::max();
    Clock::time_point restSince_ = Clock::time_point::max();
    Clock::time_point idleSince_ = Clock::time_point::max();
    Ayudante::Muros walls_;
};

[[nodiscard]] Outcome OutcomeOf(Ayudante::Estado state);
// One for the user. Empty for Outcome::Good.
[[nodiscard]] const char* SentenceOf(Outcome outcome);

}  // namespace Lx::Pdf
