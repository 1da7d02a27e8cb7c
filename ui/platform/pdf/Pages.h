// A document whose pages, text and outline come from processes of velmora-pagina.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "ui/LxPages.h"
#include "ui/platform/pdf/Crew.h"
#include "ui/platform/pdf/PageContent.h"
#include "ui/platform/pdf/Wakeups.h"

namespace Lx::Pdf {

class Pages : public IPages {
  public:
    // Begins to open it. With `aheadWidth` the first page is drawn that wide meanwhile, and waits to be asked for.
    explicit Pages(const std::string& path, int32_t aheadWidth = 0, const Crew::Limits& limits = {});
    ~Pages() override;

    [[nodiscard]] const std::string& Path() const { return path_; }
    // The answer of the opening goes there, later if it has come already.
    void Tell(OnOpened opened);
    // What the event loop would call, and where it sees when; for who has none.
    void Attend();
    [[nodiscard]] int Fd() const { return wakeups_.Fd(); }

    [[nodiscard]] const Opened& State() const override { return state_; }
    void Unlock(const std::string& password) override;
    Id Sizes(int32_t first, int32_t count, Done<std::vector<PageSize>> done) override;
    Id Draw(const TileSpec& tile, Done<Picture> done) override;
    Id DrawThumbnail(const TileSpec& tile, Done<Picture> done) override;
    Id Text(int32_t page, Done<PageText> done) override;
    Id Links(int32_t page, Done<std::vector<Link>> done) override;
    Id Outline(Done<std::vector<OutlineItem>> done) override;
    Id Attachments(Done<std::vector<Attachment>> done) override;
    Id SaveAttachment(int32_t index, const std::string& path, Done<std::string> done) override;
    Id Search(const SearchSpec& spec, Done<SearchNews> news) override;
    void Cancel(Id id) override;
    void Shrink() override;

  private:
    struct Ahead {
        int32_t width = 0;
        Outcome outcome = Outcome::Good;
        Picture picture;
        bool isDone = false;
        Id id = 0;  // who has asked for it meanwhile
        Done<Picture> done;
    };
    struct Message {
        Id id = 0;
        std::function<void()> call;
    };

    struct Searching;
    struct Saving;

    void OpenContent();
    void TakeOpening(Outcome outcome, const Ayudante::Respuesta& answer, Ayudante::Ranura& slot);
    void AskAhead();
    [[nodiscard]] bool IsAhead(const TileSpec& tile) const;
    Id DrawWith(Crew& crew, const TileSpec& tile, int rank, Done<Picture> done);
    // A job for who reads, with a slot of `room` bytes.
    Job Reading(Ayudante::Orden order, int32_t page, size_t room, int rank);
    void Share(Searching& search, int32_t first, int32_t end) const;
    // The next pages for reading_ (0) or searching_ (1).
    void ReadOn(const std::shared_ptr<Searching>& search, int who);
    void TakeFound(const std::shared_ptr<Searching>& search, Outcome outcome, std::vector<Hit> hits, int32_t first,
                   int32_t count, int who, int32_t done);
    void SaveOn(const std::shared_ptr<Saving>& saving);
    // Called from the event loop, unless it is cancelled before.
    void Post(Id id, std::function<void()> call);
    void Rearm();
    // For a job: posts `done` with what `read` makes of a good answer.
    template <class T, class Read>
    Job::Done Posting(Id id, Done<T> done, Read read) {
        return [this, id, done = std::move(done), read = std::move(read)](
                   Outcome outcome, const Ayudante::Respuesta& answer, Ayudante::Ranura& slot) {
            T value{};
            if (outcome == Outcome::Good) value = read(answer, slot);
            Post(id, [done, outcome, value = std::move(value)] { done(outcome, value); });
        };
    }

    std::string path_;
    Wakeups wakeups_;
    Opened state_;
    OnOpened opened_;
    bool isAnswered_ = false;
    Source source_;
    std::unique_ptr<Copying> copying_;
    Crew::Limits limits_;
    Crew drawing_, reading_;
    std::unique_ptr<Crew> searching_;  // searches beside reading_, once there is much to search
    std::map<Id, std::shared_ptr<Searching>> searches_;
    std::map<Id, std::shared_ptr<Saving>> savings_;
    std::optional<Ahead> ahead_;
    Id lastId_ = 0;
    std::deque<Message> messages_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace Lx::Pdf
