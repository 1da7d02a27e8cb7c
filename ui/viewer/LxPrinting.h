// Prints pages of a document: asks for them band by band and hands them to a print job, without ever waiting.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ui/LxBackend.h"
#include "ui/LxPages.h"

namespace Lx {

// Whether the document may be printed; the sentence says why not.
[[nodiscard]] bool MayPrint(const Pdf::Opened& document, std::string& error);

class CPrintRun {
  public:
    // The pages outlive the run, and stay the same document.
    CPrintRun(Pdf::IPages& pages, std::unique_ptr<IPrintJob> job);
    // Gives up what isn't printed yet.
    ~CPrintRun();
    CPrintRun(const CPrintRun&) = delete;
    CPrintRun& operator=(const CPrintRun&) = delete;

    // Once. Everything that follows is told from the event loop, but for a document that mustn't be printed.
    void Start();
    // Nothing is told any more, and the job is given up.
    void Cancel();

    // Sheet `number` of `total`, from 1, is begun.
    std::function<void(int number, int total)> onProgress;
    // The last call: empty when all is printed, else a sentence. The run may be deleted in it.
    std::function<void(const std::string& error)> onFinished;

  private:
    void NextPage();
    void BeginPage(const Pdf::PageSize& size);
    void NextBand();
    void TakeBand(Pdf::Outcome outcome, const Pdf::Picture& picture);
    void End(const std::string& error);
    [[nodiscard]] int Page() const { return job_->Pages()[next_ - 1]; }
    [[nodiscard]] std::string Failure() const;

    Pdf::IPages& pages_;
    std::unique_ptr<IPrintJob> job_;
    Pdf::IPages::Id asked_ = 0;
    size_t next_ = 0;     // sheets begun
    Pdf::TileSpec tile_;  // the band that is asked for
    int rows_ = 0;        // of the whole page
};

}  // namespace Lx
