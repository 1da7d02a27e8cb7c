// A document whose pages another process draws. One page is being drawn at a time; the last one drawn waits here until
// it is taken.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "ayudante/LxPrograma.h"
#include "ayudante/LxRanuras.h"
#include "ui/LxPdf.h"

namespace Lx::Pdf {

class PageDocument : public IDocument {
  public:
    using Clock = std::chrono::steady_clock;
    // What opening or drawing a page may take, once the program has greeted; until then the program has its own limit.
    static constexpr std::chrono::milliseconds kLimit{20'000};

    // Null with the sentence in `error`.
    [[nodiscard]] static std::unique_ptr<PageDocument> Open(const std::string& path, std::string& error,
                                                            std::chrono::milliseconds limit = kLimit);

    [[nodiscard]] int GetPageCount() const override { return pages_; }
    [[nodiscard]] bool RenderPage(int page, int width, Raster& out, std::string& error) override;
    [[nodiscard]] bool WaitForPage(int page, int width, int ms) override;
    void RenderAhead(int page, int width) override;

  private:
    struct Sheet {
        int page = 0;
        int width = 0;
        bool operator==(const Sheet&) const = default;
    };
    struct Done {
        Sheet sheet;
        std::string error;  // empty: the raster holds it
        Raster raster;
    };

    PageDocument(Api::Descriptor content, std::shared_ptr<Ayudante::Ranuras> slots, std::chrono::milliseconds limit);

    [[nodiscard]] bool AwaitOpening(std::string& error);
    [[nodiscard]] bool StartProgram();
    [[nodiscard]] bool Ask(const Sheet& sheet);
    void Request(const Sheet& sheet);
    void Answered();
    void Abandon();
    void Attend(std::chrono::milliseconds wait);
    void Fail(std::string sentence);
    void FailByDeath();
    void Deliver();
    [[nodiscard]] bool IsInTheWay(const Sheet& sheet, Clock::time_point now) const;
    [[nodiscard]] bool Admits(int page, int width, std::string& error) const;

    Api::Descriptor content_;
    std::shared_ptr<Ayudante::Ranuras> slots_;
    Ayudante::Ranura slot_;  // of the page that is being drawn
    std::chrono::milliseconds limit_, opening_{0};
    int pages_ = 0;
    std::unique_ptr<Ayudante::Programa> program_;
    bool isOpening_ = false;   // the process hasn't said yet that the document is open
    Clock::time_point since_;  // when the opening or the page that is being drawn began
    std::optional<Sheet> underway_;
    std::optional<Done> done_;
};

}  // namespace Lx::Pdf
